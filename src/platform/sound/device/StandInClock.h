#pragma once

#include "platform/sound/device/HeardClock.h"
#include "platform/sound/device/SourceAccess.h"

#include <cstdint>
#include <vector>

namespace ambrel {

/// Takes frames in real time and discards them: stands in for a device.
///
/// It has no thread: its owner makes it the puller, calls begin(), then tick() at the times that
/// tick() returns. Times count from begin(), so late ticks are made up for (up to 0.1 s) and
/// nothing drifts. Frames on their way to a lost device count as heard, at the same pace, before
/// more are taken. A source never prepared is prepared for defaultSampleRateHz.
class StandInClock {
  public:
    /// Sample rate in Hz when no device has reported one.
    static constexpr int defaultSampleRateHz = 48'000;

    StandInClock(SourceAccess& access, HeardClock& heard);

    void begin(SoundClock::time_point now);

    /// Takes the frames that are due. Returns the time of the next tick.
    SoundClock::time_point tick(SoundClock::time_point now);

  private:
    double heardFrames(SoundClock::time_point now) const;

    SourceAccess& access_;
    HeardClock& heard_;
    std::vector<float> discarded_;
    int sampleRateHz_ = 0;
    SoundClock::time_point origin_;
    double originFrames_ = 0;
};

} // namespace ambrel
