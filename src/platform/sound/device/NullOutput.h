#pragma once

#include "platform/sound/AudioOutput.h"
#include "platform/sound/device/Doorbell.h"
#include "platform/sound/device/HeardClock.h"
#include "platform/sound/device/NullClock.h"
#include "platform/sound/device/RenderGate.h"

#include <atomic>
#include <thread>

namespace ambrel {

/// An output without a device: takes frames in real time, 10 ms at a time, and discards them.
///
/// Prepares and renders the source on its own thread, which sleeps while stopped.
class NullOutput : public AudioOutput {
  public:
    explicit NullOutput(int sampleRateHz = NullClock::defaultSampleRateHz);
    ~NullOutput() override;

    void open(FrameSource& source) override;
    void start() override;
    void stop() override;
    std::int64_t framesHeard() const noexcept override;

  private:
    void run();

    const int sampleRateHz_;
    RenderGate gate_;
    HeardClock heard_;
    Doorbell bell_;
    std::atomic<bool> wanted_ = false;
    std::atomic<bool> closing_ = false;
    std::thread thread_;
};

} // namespace ambrel
