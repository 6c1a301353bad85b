#pragma once

#include "platform/sound/device/Doorbell.h"

#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace ambrel {

/// The thread on which a sound device is opened, watched and closed, one call after the other.
///
/// A call to a sound server that hangs may never return. So nobody waits for this thread, and it
/// is left behind at the end if it cannot be joined soon: it keeps alive all that it may still use.
class SoundControlThread {
  public:
    /// What the thread does. Lives until it has finished, however long that takes.
    class Task {
      public:
        virtual ~Task() = default;

        /// Does what is due and returns when it wants to be called again, at the latest; sooner if
        /// the bell rings.
        virtual SoundClock::time_point step(SoundClock::time_point now) noexcept = 0;

        /// Closes what is open: no step() comes after it.
        virtual void finish() = 0;

        /// Wakes the thread.
        virtual Doorbell& bell() = 0;
    };

    explicit SoundControlThread(std::shared_ptr<Task> task);

    /// Takes at most 0.4 s.
    ~SoundControlThread();

    SoundControlThread(const SoundControlThread&) = delete;
    SoundControlThread& operator=(const SoundControlThread&) = delete;

  private:
    std::shared_ptr<Task> task_;
    std::shared_ptr<std::atomic<bool>> closing_;
    std::future<void> finished_;
    std::thread thread_;
};

} // namespace ambrel
