#pragma once

#include "platform/sound/AudioOutput.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <numbers>
#include <thread>
#include <vector>

namespace ambrel {

/// A steady tone, on both sides, that counts what is asked of it.
class ToneSource : public FrameSource {
  public:
    static constexpr double frequencyHz = 1'000;
    static constexpr double amplitude = 0.25;

    void prepare(int sampleRateHz, std::size_t /*request*/) override {
        const std::lock_guard lock(mutex_);
        rates_.push_back(sampleRateHz);
        phaseStep_ = 2 * std::numbers::pi * frequencyHz / sampleRateHz;
    }

    void render(float* stereo, std::size_t frames) noexcept override {
        overlapped_ = overlapped_ || inside_.exchange(true);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            stereo[2 * frame] = static_cast<float>(amplitude * std::sin(phase_));
            stereo[2 * frame + 1] = stereo[2 * frame];
            phase_ = std::fmod(phase_ + phaseStep_, 2 * std::numbers::pi);
        }
        rendered_ += static_cast<std::int64_t>(frames);
        inside_ = false;
    }

    std::int64_t rendered() const { return rendered_; }

    /// The rates it was prepared for, in order.
    std::vector<int> rates() const {
        const std::lock_guard lock(mutex_);
        return rates_;
    }

    /// Whether each request came alone.
    bool wasAskedProperly() const { return !overlapped_; }

  private:
    mutable std::mutex mutex_;
    std::vector<int> rates_;
    double phaseStep_ = 0;
    double phase_ = 0;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<bool> inside_ = false;
    std::atomic<bool> overlapped_ = false;
};

} // namespace ambrel
