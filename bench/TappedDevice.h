#pragma once

#include <cstddef>

#include "platform/sound/device/DeviceOutput.h"

namespace ambrel::test {

/// Is shown what a device is given, on the device's thread.
class Tap {
  public:
    virtual ~Tap() = default;

    /// Of what follows; before it, on another thread.
    virtual void prepared(int /*sampleRateHz*/) noexcept {}

    /// `asked` is when it asked for them.
    virtual void handedOver(const float* stereo, std::size_t frames,
                            SoundClock::time_point asked) noexcept = 0;
};

/// The default device, with a tap that outlives it.
class TappedDevice final : public AudioOutput, private FrameSource {
  public:
    explicit TappedDevice(Tap& tap) : tap_(tap) {}

    void open(FrameSource& source) override {
        source_ = &source;
        device_.open(*this);
    }
    void start() override { device_.start(); }
    void stop() override { device_.stop(); }
    std::int64_t framesHeard() const noexcept override { return device_.framesHeard(); }

  private:
    void prepare(int sampleRateHz, std::size_t request) override {
        source_->prepare(sampleRateHz, request);
        tap_.prepared(sampleRateHz);
    }
    void render(float* stereo, std::size_t frames) noexcept override {
        const auto asked = SoundClock::now();
        source_->render(stereo, frames);
        tap_.handedOver(stereo, frames, asked);
    }

    Tap& tap_;
    FrameSource* source_ = nullptr;
    DeviceOutput device_; // ends first
};

} // namespace ambrel::test
