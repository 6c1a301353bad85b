#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/StretchMap.h"
#include "platform/sound/stretch/Stretcher.h"

namespace ambrel {

/// A stretcher on its way through the input of a run: which input frame it is to be fed next, and
/// which one the next frame that comes out is heard as. One thread at a time, as the stretcher.
class StretchLine {
  public:
    static constexpr std::size_t leadFrames = 512;

    /// As Stretcher.
    StretchLine(int sampleRateHz, const std::stop_token& stop) : stretcher_(sampleRateHz, stop) {}

    /// Half the analysis window, in input frames.
    std::size_t pad() const noexcept { return stretcher_.pad(); }

    /// Starts anew: the first frame that comes out is heard as input frame `first`. What lies
    /// before it is fed first: half a window, and what `lead` frames of output are made of, which
    /// are thrown away. It takes leadFrames of them until the stretcher has its full level.
    void begin(std::int64_t first, double rate, double cents, std::size_t lead = 0);

    void set(double rate, double cents);

    /// The input frame that feed() takes next; negative is before the run.
    std::int64_t next() const noexcept { return fed_; }

    /// Takes Stretcher::feedFrames stereo frames of a run of `length` frames; for those beyond its
    /// ends no time is counted.
    void feed(const float* stereo, std::int64_t length);

    std::size_t available() { return stretcher_.available(); }

    /// Takes up to `frames` frames and returns how many.
    std::size_t take(float* stereo, std::size_t frames);

    /// The input frame that the next frame taken is heard as.
    double position() const noexcept { return map_.inputAt(static_cast<double>(made_)); }

    /// Frames to be taken until the run of `length` frames is over, if the rate stays.
    double framesLeft(std::int64_t length) const noexcept;

    /// The rate nearest to `wanted` that leaves `frames` frames before the run is over; not below
    /// the present one, if that leaves less.
    double rateLeaving(std::size_t frames, std::int64_t length, double wanted) const noexcept;

  private:
    std::int64_t centre() const noexcept { return fed_ - static_cast<std::int64_t>(pad()); }

    Stretcher stretcher_;
    StretchMap map_; ///< from the frames taken to the input
    std::int64_t fed_ = 0;
    std::int64_t first_ = 0;
    std::int64_t made_ = 0;
    std::int64_t mapped_ = 0; ///< input frames that map_ knows of
    double rate_ = 1;
    double startDelay_ = 0; ///< of the stretcher, when it began
};

} // namespace ambrel
