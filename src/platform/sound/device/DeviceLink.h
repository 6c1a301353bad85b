#pragma once

#include "platform/sound/device/Doorbell.h"
#include "platform/sound/device/HeardClock.h"
#include "platform/sound/device/RenderGate.h"

#include <atomic>
#include <cstdint>

namespace ambrel {

/// How far the sound control thread has got with the device.
enum class DeviceState {
    closed,    ///< it will be opened when frames are wanted
    opening,   ///< the device or its server is being waited for
    preparing, ///< the device is there, the source is being made ready for it
    playing,   ///< a stream is running
    failed     ///< there is none for now; it will be tried again while frames are wanted
};

/// What the threads of one DeviceOutput share: its client's, the device's, the sound control thread
/// and the clock that stands in. Everything in it may be used by any of them.
class DeviceLink {
  public:
    RenderGate gate;
    HeardClock heard;
    Doorbell controlBell; ///< wakes the sound control thread
    Doorbell clockBell;   ///< wakes the clock

    std::atomic<bool> opened = false; ///< the client has called open()
    std::atomic<bool> wanted = false; ///< the client wants frames to be asked for

    std::atomic<DeviceState> state = DeviceState::closed;
    std::atomic<SoundClock::time_point> stateSince = SoundClock::time_point();

    /// Requests by the running stream, and when the last one was.
    std::atomic<std::uint64_t> requests = 0;
    std::atomic<SoundClock::time_point> lastRequest = SoundClock::time_point();

    /// Changes the state and wakes the clock, which decides who has the turn.
    void enter(DeviceState next) noexcept {
        stateSince = SoundClock::now();
        state = next;
        clockBell.ring();
    }
};

} // namespace ambrel
