#pragma once

#include <chrono>
#include <semaphore.h>

namespace ambrel {

/// The clock for all times in the sound code.
using SoundClock = std::chrono::steady_clock;

/// A semaphore that wakes one waiting thread, with a deadline.
///
/// ring() may be called on any thread, the device callback included: it neither locks nor
/// allocates. Rings before a wait are kept and count as one.
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
