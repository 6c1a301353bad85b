#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

#include "platform/sound/DeviceOutput.h"

namespace ambrel::test {

/// The default device, which counts the silence that it is given within the sound, and how long it
/// asks for nothing. What it counts may be read by any thread.
class CountingOutput final : public AudioOutput, private FrameSource {
  public:
    void open(FrameSource& source) override {
        source_ = &source;
        device_.open(*this);
    }
    void start() override { device_.start(); }
    void stop() override { device_.stop(); }
    std::int64_t framesHeard() const noexcept override { return device_.framesHeard(); }

    std::int64_t framesRendered() const { return rendered_; }

    /// Milliseconds of silence since there first was sound. A single silent frame is none: a tone
    /// may pass through zero there.
    double silenceMs() const { return silenceMs_; }

    /// The longest time between two requests since this was last asked, in milliseconds.
    double takeLongestGapMs() { return longestGapMs_.exchange(0); }

  private:
    void prepare(int sampleRateHz, std::size_t largestRequest) override {
        source_->prepare(sampleRateHz, largestRequest);
        msPerFrame_ = 1000.0 / sampleRateHz;
    }

    void render(float* stereo, std::size_t frames) noexcept override {
        source_->render(stereo, frames);
        const auto now = SoundClock::now();
        const std::chrono::duration<double, std::milli> gap = now - last_;
        last_ = now;
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

    FrameSource* source_ = nullptr;

    // Of whoever renders: the device or the clock that stands in for it, one at a time.
    SoundClock::time_point last_ = SoundClock::now();
    bool hasBegun_ = false;
    bool wasSilent_ = true;
    double msPerFrame_ = 0;

    std::atomic<double> silenceMs_ = 0;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<double> longestGapMs_ = 0;
    DeviceOutput device_; // ends first
};

} // namespace ambrel::test
