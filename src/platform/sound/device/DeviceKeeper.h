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

/// Opens, watches and closes the device of a DeviceOutput. Opens a stream when frames are wanted,
/// reports what has been heard, and closes the stream 3 s after the last stop(). If there is no
/// device, or it is lost, or memory runs out, it tries again every second while frames are wanted.
/// Otherwise it is idle.
///
/// Once a backend has worked, only that one is used: while PulseAudio restarts, taking the sound
/// card directly would keep it from PulseAudio.
///
/// Sound control thread only.
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

    // Destroyed in reverse: a stream uses its feed and its context.
    std::optional<CubebContext> context_;
    std::unique_ptr<DeviceFeed> feed_;
    std::unique_ptr<CubebStream> stream_;
};

} // namespace ambrel
