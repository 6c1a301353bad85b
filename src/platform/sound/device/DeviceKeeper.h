#pragma once

#include "platform/sound/device/CubebContext.h"
#include "platform/sound/device/CubebStream.h"
#include "platform/sound/device/DeviceFeed.h"
#include "platform/sound/device/DeviceLink.h"
#include "platform/sound/device/SoundControlThread.h"

#include <memory>
#include <optional>
#include <string>

namespace ambrel {

/// Keeps a device for a DeviceOutput: opens a stream when frames are wanted, tells what of it has
/// been heard, closes it some seconds after the last frame, and when it is lost or there is none
/// tries again once a second, for as long as frames are wanted; so it does when memory runs out.
/// Does nothing else while none are.
///
/// Once a backend has worked no other is taken: while PulseAudio restarts, the sound card itself
/// could be had, and PulseAudio would then not get it.
class DeviceKeeper : public SoundControlThread::Task {
  public:
    explicit DeviceKeeper(std::shared_ptr<DeviceLink> link);

    SoundClock::time_point step(SoundClock::time_point now) noexcept override;
    void finish() override;
    Doorbell& bell() override { return link_->controlBell; }

  private:
    SoundClock::time_point advance(SoundClock::time_point now);
    SoundClock::time_point watch(SoundClock::time_point now);
    void open();
    void openStream();
    void closeStream();
    void disconnect();
    void tellHeard();
    bool stalled(SoundClock::time_point now) const;

    std::shared_ptr<DeviceLink> link_;
    std::string backend_;
    bool triedAtOpening_ = false;
    SoundClock::time_point nextTry_;
    SoundClock::time_point lastWanted_;
    int sampleRateHz_ = 0;

    // Destroyed from the last to the first: a stream uses its feed and its context.
    std::optional<CubebContext> context_;
    std::unique_ptr<DeviceFeed> feed_;
    std::unique_ptr<CubebStream> stream_;
};

} // namespace ambrel
