#pragma once

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>

#include <semaphore.h>

namespace ambrel {

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

    void wait() noexcept {
        while (sem_wait(&semaphore_) != 0 && errno == EINTR) {
        }
        pending_.exchange(false, std::memory_order_acq_rel);
    }

    /// Waits for at most `limit`.
    void waitFor(std::chrono::milliseconds limit) noexcept {
        timespec until{};
        clock_gettime(CLOCK_MONOTONIC, &until);
        const auto ns = std::chrono::nanoseconds(limit).count() + until.tv_nsec;
        until.tv_sec += static_cast<time_t>(ns / 1'000'000'000);
        until.tv_nsec = static_cast<long>(ns % 1'000'000'000);
        int result = 0;
        while ((result = sem_clockwait(&semaphore_, CLOCK_MONOTONIC, &until)) != 0 &&
               errno == EINTR) {
        }
        if (result == 0)
            pending_.exchange(false, std::memory_order_acq_rel);
    }

  private:
    sem_t semaphore_;
    std::atomic<bool> pending_{false};
};

} // namespace ambrel
