#pragma once

#include "platform/sound/thread/Seqlock.h"
#include "platform/sound/thread/WakeUp.h"

#include <atomic>
#include <cstdint>
#include <limits>

namespace ambrel {

/// How many frames have been heard by now, interpolated.
///
/// The device's position is read from time to time; in between, heard() advances by the clock, so
/// that it increases evenly. Any thread reads, without waiting; one thread at a time sets.
class HeardClock {
  public:
    static constexpr std::int64_t noCeiling = std::numeric_limits<std::int64_t>::max();

    /// Sets exactly `frames` at `when`, increasing by `framesPerSecond` up to `ceiling`.
    void run(SoundClock::time_point when, double frames, double framesPerSecond,
             std::int64_t ceiling = noCeiling);

    /// As run(), from a measured position: differences under 10 ms are followed gradually, larger
    /// ones (a stall, another device) at once.
    void follow(SoundClock::time_point when, double frames, double framesPerSecond,
                std::int64_t ceiling);

    /// Stays at `frames`.
    void rest(std::int64_t frames);

    /// Frames heard by now; at most `rendered`, never decreasing.
    std::int64_t heard(std::int64_t rendered) const noexcept;

  private:
    struct Line {
        SoundClock::time_point when;
        double frames = 0;
        double framesPerSecond = 0;
        std::int64_t ceiling = noCeiling;

        double at(SoundClock::time_point now) const noexcept;
    };

    Seqlock<Line> line_;
    mutable std::atomic<std::int64_t> largestReturned_ = 0;
};

} // namespace ambrel
