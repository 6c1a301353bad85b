#pragma once

#include "platform/sound/device/Doorbell.h"
#include "platform/sound/device/HeardClock.h"
#include "platform/sound/device/RenderGate.h"

#include <atomic>
#include <cstdint>

namespace ambrel {

/// The state of the device, as seen by the sound control thread.
enum class DeviceState {
    closed,    ///< will be opened when frames are wanted
    opening,   ///< waiting for the device or its server
    preparing, ///< the device is open, the source is being prepared for it
    playing,   ///< a stream is running
    failed     ///< none for now; tried again while frames are wanted
};

/// What the threads of one DeviceOutput share: the client, the device callback, the sound control
/// thread and the stand-in clock. All members may be used by any of them.
class DeviceLink {
  public:
    RenderGate gate;
    HeardClock heard;
    Doorbell controlBell; ///< wakes the sound control thread
    Doorbell clockBell;   ///< wakes the stand-in clock

    std::atomic<bool> opened = false; ///< the client has called open()
    std::atomic<bool> wanted = false; ///< between start() and stop()

    std::atomic<DeviceState> state = DeviceState::closed;
    std::atomic<SoundClock::time_point> stateSince = SoundClock::time_point();

    /// Requests of the current stream, and the time of the last one.
    std::atomic<std::uint64_t> requests = 0;
    std::atomic<SoundClock::time_point> lastRequest = SoundClock::time_point();

    /// Changes the state and wakes the stand-in clock, which decides who has the turn.
    void enter(DeviceState next) noexcept {
        stateSince = SoundClock::now();
        state = next;
        clockBell.ring();
    }
};

} // namespace ambrel
