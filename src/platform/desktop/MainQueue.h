#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace ambrel {

/// A step for the main thread that can be cancelled until it runs.
class WorkItem {
  public:
    explicit WorkItem(std::function<void()> step) : step_(std::move(step)) {}

    /// Any thread. A cancelled item never begins to run.
    void cancel() noexcept { cancelled_.store(true); }
    bool isCancelled() const noexcept { return cancelled_.load(); }

    /// Runs the step unless cancelled.
    void perform() const {
        if (!isCancelled())
            step_();
    }

  private:
    std::function<void()> step_;
    std::atomic<bool> cancelled_{false};
};

/// Steps that run on the main thread, one after the other, in the order in which they were handed
/// over, from whatever thread. What is added by a running step runs in a later turn of the main
/// loop, so a step that adds itself again never starves input or painting.
///
/// A queue belongs to the thread that made it, which must run an event loop. Any thread may call
/// everything. Steps still waiting when the queue ends never run.
class MainQueue {
  public:
    using Step = std::function<void()>;

    MainQueue();
    ~MainQueue();
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    /// The application's queue; made on the main thread by its first call there.
    static MainQueue& shared();

    /// Runs `step` after everything handed over before it.
    void async(Step step);

    /// Runs `step` (or the item) once `delay` has passed, to the millisecond, never early.
    void asyncAfter(std::chrono::duration<double> delay, Step step);
    void asyncAfter(std::chrono::duration<double> delay, std::shared_ptr<WorkItem> item);

  private:
    class Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace ambrel
