#pragma once

#include "platform/sound/AudioOutput.h"
#include "platform/sound/device/NullClock.h"

#include <atomic>
#include <memory>
#include <thread>

namespace ambrel {

class DeviceLink;
class SoundControlThread;

/// The application's output: the default sound device, with a silent clock standing in where there
/// is none. Owned by the graph.
///
/// - Every call to the device is made on a sound control thread, so a hanging sound server blocks
///   nothing else. The destructor takes at most about 0.5 s even then.
/// - While frames are wanted and no device asks for them (none, lost, or its server hangs), the
///   stand-in clock takes them in real time: at once if the device has failed, otherwise 0.25 s
///   after the last request. The device is tried again every second, and gets the turn back after
///   three requests.
/// - After start() the device asks within 20 ms. For 3 s after a stop() it keeps running, silently,
///   and a start() is answered at once. Later neither thread wakes until the next start().
/// - A start() waits up to 0.3 s for a device that has not failed before the clock steps in, so
///   that the first note is heard; preparing the source for the device is always waited for.
/// - The source is prepared for the device's rate when a device opens, and again if that changes.
///   Without a device it is prepared for NullClock::defaultSampleRateHz.
class DeviceOutput : public AudioOutput {
  public:
    DeviceOutput();
    ~DeviceOutput() override;

    void open(FrameSource& source) override;
    void start() override;
    void stop() override;
    std::int64_t framesHeard() const noexcept override;

  private:
    void runClock();
    SoundClock::time_point tickOrWatch(NullClock& clock, SoundClock::time_point now);
    bool deviceAsks(SoundClock::time_point now) const;
    bool deviceIsExpected(SoundClock::time_point now) const;

    std::shared_ptr<DeviceLink> link_;
    std::atomic<SoundClock::time_point> startedAt_ = SoundClock::time_point();
    std::atomic<bool> closing_ = false;
    bool ticking_ = false; ///< the stand-in clock has the turn; clock thread only
    std::thread clockThread_;
    std::unique_ptr<SoundControlThread> controlThread_;
};

} // namespace ambrel
