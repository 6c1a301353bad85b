#pragma once

#include "platform/sound/AudioOutput.h"
#include "platform/sound/device/NullClock.h"

#include <atomic>
#include <memory>
#include <thread>

namespace ambrel {

class DeviceLink;
class SoundControlThread;

/// The output of the application: the default sound device, and a silent clock where there is none.
///
/// - Every call to the device is made on a sound control thread; what it may hang in stops nothing
///   else. The destructor takes at most about half a second, with a sound server that hangs too.
/// - While frames are wanted and no device asks for them (there is none, it was lost, its server
///   hangs), a clock thread asks for them in real time, from about 0.1 s after the last one was
///   asked for. The device is tried again once a second, and gets the turn back when it runs.
/// - start() makes the device ask within 20 ms; within 3 s of a stop() the device still runs,
///   silently, and asks at once. After that neither thread wakes until the next start().
/// - Only a start that a device is still expected to answer waits for it, for 0.3 s at most: the
///   first note should not be played to nobody.
/// - The source is prepared for the device's rate when a device opens, and again if a later one
///   differs. Without any it is prepared for NullClock::defaultSampleRateHz.
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
    bool ticking_ = false; ///< the clock has the turn; clock thread only
    std::thread clockThread_;
    std::unique_ptr<SoundControlThread> controlThread_;
};

} // namespace ambrel
