#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/sound/FrameBlock.h"
#include "platform/sound/StretchMap.h"
#include "platform/sound/Stretcher.h"

namespace ambrel {

/// Changes speed and pitch of one run after the other, each without the other.
///
/// The first frame out is the run's first and the last its last: the stretcher's delay is taken
/// off, and a run at a steady rate lasts its frames ÷ rate, to the frame. A run that begins at
/// rate 1 and 0 cents is passed through bit for bit until either is changed; the stretcher is then
/// brought alongside on what was just played, and crossfaded in.
///
/// One thread at a time, the render thread. Allocates in the constructor only, which takes about
/// 0.2 s.
class TimePitchUnit {
  public:
    explicit TimePitchUnit(int sampleRateHz);

    /// What comes next is a run of `frames` frames.
    void begin(std::int64_t frames) noexcept;

    /// Speed, 1 is normal; brought into 0.05 to 3, no number counts as 1.
    void setRate(double rate) noexcept;

    /// Transposition; brought into −1200 to 1200 cents, no number counts as 0.
    void setPitch(double cents) noexcept;

    /// Makes up to `frames` frames and returns how many: fewer when `source` has no more now or
    /// when the run ends.
    std::size_t process(FrameInput& source, float* stereo, std::size_t frames) noexcept;

    /// The run has been made to its last frame.
    bool finished() const noexcept { return framesLeft() <= 0; }

    /// Frames still to be made, if the rate stays.
    std::int64_t framesLeft() const noexcept;

    /// The input frame that the next frame made will be heard as, counted from the run's first.
    double position() const noexcept;

    /// Input frames that one process() for up to 64 frames can ask for at most.
    std::size_t mostInput() const noexcept { return span_; }

  private:
    enum class Mode { direct, joining, stretching };

    bool neutral() const noexcept { return rate_ == 1 && cents_ == 0; }
    std::size_t direct(FrameInput& source, float* stereo, std::size_t frames) noexcept;
    std::size_t join(FrameInput& source, float* stereo, std::size_t frames) noexcept;
    std::size_t stretch(FrameInput& source, float* stereo, std::size_t frames) noexcept;
    void beginJoining() noexcept;
    void endJoining() noexcept;
    bool feed(FrameInput& source) noexcept;
    bool pull(FrameInput& source, std::int64_t upTo) noexcept;
    void copyInput(std::int64_t from, float* stereo, std::size_t frames) const noexcept;

    Stretcher stretcher_;
    std::size_t fadeFrames_;
    std::size_t span_;         ///< frames of input kept, a power of two
    std::vector<float> input_; ///< the last span_ frames pulled, by frame modulo span_

    double rate_ = 1;
    double cents_ = 0;
    Mode mode_ = Mode::direct;
    std::int64_t length_ = 0; ///< of the run
    std::int64_t pulled_ = 0; ///< input frames taken from the source
    std::int64_t next_ = 0;   ///< direct and joining: the input frame to pass through next
    std::int64_t fed_ = 0;    ///< the input frame to feed next; negative is silence before the run
    std::int64_t first_ = 0;  ///< stretching: the input frame that output frame 0 is made of
    std::int64_t made_ = 0;   ///< stretching: output frames made
    double end_ = 0;          ///< stretching: output frames there must be, once known
    bool endKnown_ = false;
    double behindZero_ = 0; ///< committed() when the course is at 0
    std::size_t faded_ = 0;
    bool fading_ = false;
    StretchMap map_;
};

} // namespace ambrel
