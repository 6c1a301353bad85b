#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace ambrel {

/// A call on the main thread that can be cancelled until it runs.
class WorkItem {
  public:
    explicit WorkItem(std::function<void()> step) : step_(std::move(step)) {}

    /// Any thread. A cancelled item never starts.
    void cancel() noexcept { cancelled_.store(true); }
    bool isCancelled() const noexcept { return cancelled_.load(); }

    /// Runs the call unless cancelled.
    void perform() const {
        if (!isCancelled())
            step_();
    }

  private:
    std::function<void()> step_;
    std::atomic<bool> cancelled_{false};
};

/// Runs calls on the main thread, in the order in which they were added from any thread. A call
/// added by a running call runs in a later turn of the main loop, so that a call that re-adds
/// itself never starves input or painting.
///
/// A queue belongs to the thread that created it, which must run an event loop. Any thread may call
/// everything. Calls still waiting when the queue is destroyed never run.
class MainQueue {
  public:
    using Step = std::function<void()>;

    MainQueue();
    ~MainQueue();
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    /// The application's queue; the first call, on the main thread, creates it.
    static MainQueue& shared();

    /// Runs `step` after everything added before.
    void async(Step step);

    /// Runs `step` (or the item) after `delay`, to the millisecond, never early.
    void asyncAfter(std::chrono::duration<double> delay, Step step);
    void asyncAfter(std::chrono::duration<double> delay, std::shared_ptr<WorkItem> item);

  private:
    class Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace ambrel
