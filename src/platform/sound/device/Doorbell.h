#pragma once

#include <chrono>
#include <semaphore.h>

namespace ambrel {

/// The clock that everything about sound is timed by.
using SoundClock = std::chrono::steady_clock;

/// Wakes one waiting thread.
///
/// ring() may be called from any thread, a device callback's included: it takes no lock and
/// allocates nothing. Rings that come before the thread waits are kept, and count as one.
class Doorbell {
  public:
    Doorbell();
    ~Doorbell();

    Doorbell(const Doorbell&) = delete;
    Doorbell& operator=(const Doorbell&) = delete;

    void ring() noexcept;

    /// Returns when rung, or at `deadline`; SoundClock::time_point::max() is never.
    void waitUntil(SoundClock::time_point deadline) noexcept;

  private:
    sem_t semaphore_;
};

} // namespace ambrel
