#pragma once

#include "platform/sound/AudioOutput.h"
#include "platform/sound/device/HeardClock.h"
#include "platform/sound/device/SourceAccess.h"
#include "platform/sound/device/StandInClock.h"
#include "platform/sound/thread/Mailbox.h"
#include "platform/sound/thread/WakeUp.h"

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace ambrel {

class CubebContext;
class CubebStream;
class DeviceCallback;

/// The application's output: the default sound device, with a silent clock standing in where there
/// is none. Owned by the graph.
///
/// One thread, the sound control thread, decides who pulls frames:
///
/// | Puller is      | and                                                       | then it is |
/// |----------------|-----------------------------------------------------------|------------|
/// | any            | stop() was called                                         | nobody     |
/// | nobody         | start() was called                                        | the device |
/// | the device     | opening it fails, or it is lost                           | the clock  |
/// | the device     | it asks for nothing for 0.25 s, or for 0.3 s while opened | the clock  |
/// | the clock      | the device asks, for the third time since it was opened   | the device |
///
/// Preparing the source for a device is always waited for, so that the first note is heard.
///
/// A device is open from start() until 3 s after stop(), and for 3 s after open(); it is opened
/// again at once when it is lost, and every second while that fails or the device has no clock. A
/// call to the sound server may never return, so each is made on a thread of its own, one at a
/// time, that nobody waits for. The destructor takes at most about 0.5 s even then.
///
/// Once a sound system has worked, only that one is used: while PulseAudio restarts, taking the
/// sound card directly would keep it from PulseAudio.
class DeviceOutput : public AudioOutput {
  public:
    DeviceOutput();
    ~DeviceOutput() override;

    void open(FrameSource& source) override;
    void start() override;
    void stop() override;
    void setTitle(const std::string& title) override { titles_.put(title); }
    std::int64_t framesHeard() const noexcept override;

  private:
    /// A connection to a sound system, and a stream while it is open. Destroyed in reverse: a
    /// stream uses its callback and its context.
    struct Device {
        std::unique_ptr<CubebContext> context;
        std::unique_ptr<DeviceCallback> callback;
        std::unique_ptr<CubebStream> stream;
    };
    using Call = std::function<Device(Device)>;

    void run();
    SoundClock::time_point step(SoundClock::time_point now);
    void keepDevice(SoundClock::time_point now);
    void openDevice();
    static void startStream(const std::shared_ptr<SourceAccess>& access, Device& device);
    void nameDevice(SoundClock::time_point now);
    void closeDevice();
    void loseDevice();
    Puller nextPuller(SoundClock::time_point now);
    void tellHeard();
    void make(Call call);
    bool takeResult();
    void end();

    const std::shared_ptr<SourceAccess> access_; ///< shared with calls that have not returned
    HeardClock heard_;
    WakeUp wake_;
    Mailbox<std::string> titles_;
    std::atomic<bool> wanted_ = false; ///< between start() and stop()
    std::atomic<bool> closing_ = false;

    // Sound control thread only.
    StandInClock clock_;
    Device device_;
    std::future<Device> call_; ///< valid while a call has the device
    std::string backend_;      ///< that has worked
    std::string title_;        ///< the newest
    SoundClock::time_point lastWanted_;
    SoundClock::time_point nextTry_;
    SoundClock::time_point patience_; ///< the device may ask for nothing until then

    std::thread thread_;
};

} // namespace ambrel
