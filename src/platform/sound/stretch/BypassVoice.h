#pragma once

#include <vector>

#include "platform/sound/stretch/RunInput.h"
#include "platform/sound/stretch/Voice.h"

namespace ambrel {

/// The run itself, bit for bit.
class BypassVoice final : public Voice {
  public:
    /// Frames compared to line it up: a period of the lowest note of a bass.
    static constexpr std::size_t comparedFrames = 2048;

    /// `heard`: at least the last comparedFrames frames rendered. `mostLag`: how far what is heard
    /// may be from its position, in frames.
    BypassVoice(RunInput& input, const FrameHistory& heard, std::size_t mostLag);

    void begin() noexcept { next_ = 0; }

    /// Takes over where the run best continues what has been heard. Both must reach back
    /// comparedFrames and mostLag frames.
    std::optional<double> lineUp(double position, std::size_t frames,
                                 double mostInput) noexcept override;
    void set(double, double) noexcept override {}
    bool isOutdated() const noexcept override { return false; }
    double position() const noexcept override { return static_cast<double>(next_); }
    double framesLeft() const noexcept override {
        return static_cast<double>(input_.length() - next_);
    }
    std::size_t prepare(std::size_t frames) noexcept override {
        return input_.fetch(next_, frames);
    }
    void take(float* stereo, std::size_t frames) noexcept override;

  private:
    RunInput& input_;
    const FrameHistory& heard_;
    std::vector<float> last_, window_; ///< of heard_ and of the run: what is compared, mono
    std::int64_t next_ = 0;
};

} // namespace ambrel
