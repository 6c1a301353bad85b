#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

#include "TappedDevice.h"

namespace ambrel::test {

/// Counts the silence that a device is given within the sound, and how long it asks for nothing.
/// What it counts may be read by any thread.
class GapCounter final : public Tap {
  public:
    std::int64_t framesRendered() const { return rendered_; }

    /// Milliseconds of silence since there first was sound. A single silent frame is none: a tone
    /// may pass through zero there.
    double silenceMs() const { return silenceMs_; }

    /// The longest time between two requests since this was last asked, in milliseconds.
    double takeLongestGapMs() { return longestGapMs_.exchange(0); }

    void prepared(int sampleRateHz) noexcept override { msPerFrame_ = 1000.0 / sampleRateHz; }

    void handedOver(const float* stereo, std::size_t frames,
                    SoundClock::time_point asked) noexcept override {
        const std::chrono::duration<double, std::milli> gap = asked - last_;
        last_ = asked;
        longestGapMs_ = std::max(longestGapMs_.load(), gap.count());
        rendered_ += static_cast<std::int64_t>(frames);
        double silence = silenceMs_;
        for (std::size_t i = 0; i < 2 * frames; i += 2) {
            const bool isSilent = stereo[i] == 0 && stereo[i + 1] == 0;
            hasBegun_ = hasBegun_ || !isSilent;
            silence += hasBegun_ && isSilent && wasSilent_ ? msPerFrame_ : 0;
            wasSilent_ = isSilent;
        }
        silenceMs_ = silence;
    }

  private:
    // Of whoever renders: the device or the clock that stands in for it, one at a time.
    SoundClock::time_point last_ = SoundClock::now();
    bool hasBegun_ = false;
    bool wasSilent_ = true;
    double msPerFrame_ = 0;

    std::atomic<double> silenceMs_ = 0;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<double> longestGapMs_ = 0;
};

} // namespace ambrel::test
