#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/AttackPlayer.h"
#include "platform/sound/stretch/MiddleBand.h"
#include "platform/sound/stretch/RunInput.h"
#include "platform/sound/stretch/StepRestorer.h"
#include "platform/sound/stretch/Stretcher.h"
#include "platform/sound/stretch/TimeMap.h"
#include "platform/sound/stretch/Voice.h"

namespace ambrel {

/// The run stretched and transposed: a stretcher, what it is fed, and which frame its output is
/// heard as. Attacks do not go through the stretcher.
class StretchVoice final : public Voice {
  public:
    /// As for Stretcher. `heard`: at least the last comparedFrames frames rendered.
    StretchVoice(RunInput& input, const FrameHistory& heard, MiddleBand::Stretchers& middle,
                 int sampleRateHz, const std::stop_token& stop, Stretcher::Pitch pitch);

    /// Frames compared to find out how much it sounds like what is heard.
    static constexpr std::size_t comparedFrames = 512;

    bool canTranspose() const noexcept { return stretcher_.canTranspose(); }

    /// Half the analysis window, in input frames.
    std::size_t pad() const noexcept { return stretcher_.pad(); }

    /// Restarts so that the first frame is heard as input frame `first`. The stretcher is fed from
    /// half a window and `lead` output frames earlier on; that output is discarded. Without a lead
    /// it is a while before the middle band is replaced: another change may be near.
    void begin(std::int64_t first, double rate, double cents, std::size_t lead = 0);

    /// Frames from `frame` on have changed.
    void replaceFrom(std::int64_t frame) noexcept { isOutdated_ = isOutdated_ || fed_ > frame; }

    /// The input frame from which on a change of speed is heard.
    std::int64_t reached() const noexcept { return mapped_; }

    /// If more has been made ahead than a change may be late, or the voice cannot transpose, it
    /// stays as it is, and is outdated. A rate that would not leave enough of the run for its
    /// fade-out is not reached.
    void set(double rate, double cents) override;
    /// Follows the waveform of what is heard if that has the same speed and pitch.
    std::optional<double> lineUp(double position, std::size_t frames, double mostInput) override;
    bool isOutdated() const noexcept override { return isOutdated_; }
    double position() const noexcept override { return map_.inputAt(static_cast<double>(made_)); }
    double framesLeft() const noexcept override;
    std::size_t prepare(std::size_t frames) override;
    void take(float* stereo, std::size_t frames) override;

  private:
    bool feed();
    void drop(std::size_t frames);
    double likeness() const noexcept;
    std::size_t prepareMiddle(std::size_t frames);
    Stretch stretch() const noexcept;

    RunInput& input_;
    const FrameHistory& heard_;
    FrameHistory dropped_; ///< what was made before it was lined up
    Stretcher stretcher_;
    MiddleBand middle_;
    StepRestorer restorer_;
    AttackPlayer attacks_;
    TimeMap map_;             ///< from output to input frames
    double fadeOut_;          ///< output frames that a change of rate leaves
    double startDelay_ = 0;   ///< of the stretcher, at begin()
    std::int64_t fed_ = 0;    ///< the input frame that is fed next; negative before the run
    std::int64_t mapped_ = 0; ///< input frames entered in map_
    std::int64_t made_ = 0;   ///< output frames taken or discarded
    bool isOutdated_ = false;
};

} // namespace ambrel
