#pragma once

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>

#include <semaphore.h>

namespace ambrel {

/// The clock for all times in the sound code.
using SoundClock = std::chrono::steady_clock;

/// A semaphore for waking a thread: any number of signals before a wait count as one.
///
/// signal() may be called on any thread, the device callback included: it is one atomic exchange
/// and at most one sem_post(), neither of which waits. One thread waits.
class WakeUp {
  public:
    WakeUp() { sem_init(&semaphore_, 0, 0); }
    ~WakeUp() { sem_destroy(&semaphore_); }
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// What was written before signal() is visible after the wait.
    void signal() noexcept {
        if (!pending_.exchange(true, std::memory_order_acq_rel))
            sem_post(&semaphore_);
    }

    void wait() noexcept { waitUntil(SoundClock::time_point::max()); }

    /// Waits until `deadline` at most; SoundClock::time_point::max() is never.
    void waitUntil(SoundClock::time_point deadline) noexcept {
        constexpr long long nsPerSecond = 1'000'000'000;
        const auto ns = std::chrono::nanoseconds(deadline.time_since_epoch()).count();
        const timespec until{static_cast<time_t>(ns / nsPerSecond),
                             static_cast<long>(ns % nsPerSecond)};
        int result = 0;
        do {
            result = deadline == SoundClock::time_point::max()
                         ? sem_wait(&semaphore_)
                         : sem_clockwait(&semaphore_, CLOCK_MONOTONIC, &until);
        } while (result != 0 && errno == EINTR);
        if (result == 0)
            pending_.exchange(false, std::memory_order_acq_rel);
    }

  private:
    sem_t semaphore_;
    std::atomic<bool> pending_{false};
};

} // namespace ambrel
