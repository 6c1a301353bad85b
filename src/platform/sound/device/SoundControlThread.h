#pragma once

#include "platform/sound/device/Doorbell.h"

#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace ambrel {

/// The thread that opens, watches and closes a sound device, one call at a time.
///
/// A call to a hanging sound server may never return. So nobody waits for this thread; if it does
/// not end soon enough, it is detached and keeps alive everything it may still use.
class SoundControlThread {
  public:
    /// The work of the thread. Lives until it has finished, however long that takes.
    class Task {
      public:
        virtual ~Task() = default;

        /// Does what is due. Returns when it must be called again at the latest; ringing the bell
        /// calls it sooner.
        virtual SoundClock::time_point step(SoundClock::time_point now) noexcept = 0;

        /// Closes the device. step() is not called afterwards.
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
