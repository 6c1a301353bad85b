#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/StretchMap.h"
#include "platform/sound/stretch/Stretcher.h"

namespace ambrel {

/// A stretcher with its position: which input frame it is fed next, and which one its next output
/// frame is heard as. Owned by TimePitchUnit; render thread only.
class StretchLine {
  public:
    static constexpr std::size_t leadFrames = 512;

    /// As for Stretcher.
    StretchLine(int sampleRateHz, const std::stop_token& stop) : stretcher_(sampleRateHz, stop) {}

    /// Half the analysis window, in input frames.
    std::size_t pad() const noexcept { return stretcher_.pad(); }

    /// Restarts so that the first output is heard as input frame `first`. feed() then starts half a
    /// window and `lead` output frames earlier; that output is discarded. With leadFrames the
    /// stretcher has reached its full level.
    void begin(std::int64_t first, double rate, double cents, std::size_t lead = 0);

    void set(double rate, double cents);

    /// The input frame that feed() takes next; negative before the run.
    std::int64_t next() const noexcept { return fed_; }

    /// Feeds Stretcher::feedFrames stereo frames of a run of `length` frames. Those outside the run
    /// do not count towards its duration.
    void feed(const float* stereo, std::int64_t length);

    std::size_t available() { return stretcher_.available(); }

    /// Takes up to `frames` output frames and returns how many.
    std::size_t take(float* stereo, std::size_t frames);

    /// The input frame that the next output frame is heard as.
    double position() const noexcept { return map_.inputAt(static_cast<double>(made_)); }

    /// Output frames left in a run of `length` frames if the rate stays.
    double framesLeft(std::int64_t length) const noexcept;

    /// The rate nearest to `wanted` that leaves at least `frames` output frames in the run; not
    /// below the present rate if that already leaves less.
    double rateLeaving(std::size_t frames, std::int64_t length, double wanted) const noexcept;

  private:
    std::int64_t centre() const noexcept { return fed_ - static_cast<std::int64_t>(pad()); }

    Stretcher stretcher_;
    StretchMap map_; ///< from output to input frames
    std::int64_t fed_ = 0;
    std::int64_t first_ = 0;
    std::int64_t made_ = 0;
    std::int64_t mapped_ = 0; ///< input frames entered in map_
    double rate_ = 1;
    double startDelay_ = 0; ///< of the stretcher, at begin()
};

} // namespace ambrel
