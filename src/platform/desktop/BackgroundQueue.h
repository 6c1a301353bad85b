#pragma once

#include <condition_variable>
#include <coroutine>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

namespace ambrel {

class MainQueue;

/// Runs work off the main thread and returns its result through a MainQueue, so that the result
/// arrives after every message the work has posted there.
///
///     auto work = [url] { return open(url); };
///     auto file = co_await opens.run(work);    // resumes on the main thread
///
/// Create, call, await and destroy on the main thread. With one thread and equal priorities, work
/// runs in the order in which it was started. Exceptions of the work are thrown from the co_await.
///
/// The threads are the queue's own, so that ThreadSanitizer sees every lock between them.
class BackgroundQueue {
  public:
    /// Thrown from the co_await if the queue is destroyed first. Not a std::exception: nothing
    /// failed, so there is nothing to report to the user.
    struct Ended {};

    /// `home` must outlive the queue. Threads are created on demand, at most `threads`.
    BackgroundQueue(MainQueue& home, int threads);

    /// Drops work that has not begun, waits for running work, and resumes every pending co_await
    /// with Ended.
    ~BackgroundQueue();

    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

    template <typename Work> class Awaitable;

    /// Starts `work` as soon as a thread is free, whether or not the result is awaited. Waiting
    /// work with the highest `priority` starts first.
    template <typename Work> [[nodiscard]] auto run(Work work, std::int64_t priority = 0) {
        return Awaitable<Work>(*this, std::move(work), priority);
    }

  private:
    /// Work with its result. Used by the worker thread while it runs, otherwise by the main thread,
    /// which also destroys it.
    struct Delivery : std::enable_shared_from_this<Delivery> {
        virtual ~Delivery() = default;
        virtual void perform() noexcept = 0;
        void complete();
        void resumeWaiting();

        BackgroundQueue* queue = nullptr; ///< null once the queue has been destroyed
        bool done = false;
        std::coroutine_handle<> waiting;
    };

    void start(std::shared_ptr<Delivery> delivery, std::int64_t priority);
    void performDeliveries();

    MainQueue& home_;
    const std::size_t threadLimit_;
    std::unordered_set<std::shared_ptr<Delivery>> outstanding_;

    std::mutex mutex_; ///< guards the following, except the threads
    std::condition_variable wake_;
    bool ending_ = false;
    std::size_t idleThreads_ = 0;
    std::int64_t nextTicket_ = 0;
    /// Waiting work, in the order in which it will start.
    std::map<std::pair<std::int64_t, std::int64_t>, std::shared_ptr<Delivery>> waiting_;
    std::vector<std::thread> threads_;
};

/// The pending result; pass it straight to co_await.
template <typename Work> class BackgroundQueue::Awaitable {
  public:
    using Result = std::invoke_result_t<Work&>;

    Awaitable(BackgroundQueue& queue, Work work, std::int64_t priority)
        : state_(std::make_shared<State>(std::move(work))) {
        queue.start(state_, priority);
    }

    bool await_ready() const noexcept { return state_->done || !state_->queue; }
    void await_suspend(std::coroutine_handle<> waiting) noexcept { state_->waiting = waiting; }
    Result await_resume() {
        if (!state_->done)
            throw Ended();
        if (state_->error)
            std::rethrow_exception(state_->error);
        if constexpr (!std::is_void_v<Result>)
            return std::move(*state_->value);
    }

  private:
    using Stored = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;

    struct State : Delivery {
        explicit State(Work job) : work(std::move(job)) {}

        void perform() noexcept override {
            try {
                if constexpr (std::is_void_v<Result>) {
                    (*work)();
                    value.emplace();
                } else {
                    value.emplace((*work)());
                }
            } catch (...) {
                error = std::current_exception();
            }
            work.reset();
        }

        std::optional<Work> work;
        std::optional<Stored> value;
        std::exception_ptr error;
    };
    std::shared_ptr<State> state_;
};

} // namespace ambrel
