#pragma once

#include "platform/sound/device/Doorbell.h"
#include "platform/sound/device/HeardClock.h"
#include "platform/sound/device/RenderGate.h"

#include <cstdint>
#include <vector>

namespace ambrel {

/// Asks for frames in real time and throws them away: what stands in for a device.
///
/// It has no thread; one calls begin() and then tick() at the times that tick() returns. Times are
/// reckoned from begin(), so that a late tick is made up for and nothing drifts. The frames in
/// flight when it begins are heard first, at the same pace, before it asks for more.
class NullClock {
  public:
    /// The rate when no device has ever told one.
    static constexpr int defaultSampleRateHz = 48'000;

    /// How long its thread rests when something was thrown, for want of memory, before it goes on.
    static constexpr std::chrono::milliseconds afterAFailure{100};

    NullClock(RenderGate& gate, HeardClock& heard);

    /// Takes the turn at the gate.
    void begin(SoundClock::time_point now);

    /// Renders what is due. Returns when the next tick is.
    SoundClock::time_point tick(SoundClock::time_point now);

  private:
    double heardFrames(SoundClock::time_point now) const;

    RenderGate& gate_;
    HeardClock& heard_;
    std::vector<float> discarded_;
    int sampleRateHz_ = 0;
    SoundClock::time_point origin_;
    double originFrames_ = 0;
};

} // namespace ambrel
