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

/// Runs work off the main thread and hands its result back through a MainQueue, so that the result
/// arrives behind every message the work itself sent there before.
///
///     auto work = [url] { return open(url); };
///     auto file = co_await opens.run(work);    // resumes on the main thread
///
/// Made, called, awaited and ended on the main thread. With one thread and equal priorities, work
/// runs one at a time in the order in which it was started. What the work throws is thrown from
/// the co_await.
///
/// The threads are the queue's own, so that ThreadSanitizer sees every lock between them.
class BackgroundQueue {
  public:
    /// Thrown from the co_await of work whose queue has ended. No std::exception: nothing failed,
    /// so there is nothing to tell the user.
    struct Ended {};

    /// `home` outlives the queue. Threads are made when there is work for them, at most `threads`.
    BackgroundQueue(MainQueue& home, int threads);

    /// Drops work that has not begun, waits for what is running, and resumes whoever still awaits a
    /// result, with Ended: no coroutine stays behind.
    ~BackgroundQueue();

    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

    template <typename Work> class Awaitable;

    /// Starts `work` as soon as a thread is free, whether or not the result is ever awaited. Of
    /// what is waiting for a thread the highest `priority` begins first.
    template <typename Work> [[nodiscard]] auto run(Work work, std::int64_t priority = 0) {
        return Awaitable<Work>(*this, std::move(work), priority);
    }

  private:
    /// Work and its result on their way: the working thread's while it performs, otherwise the main
    /// thread's, which also releases them.
    struct Delivery : std::enable_shared_from_this<Delivery> {
        virtual ~Delivery() = default;
        virtual void perform() noexcept = 0;
        void complete();
        void resumeWaiting();

        BackgroundQueue* queue = nullptr; ///< absent once the queue has ended
        bool done = false;
        std::coroutine_handle<> waiting;
    };

    void start(std::shared_ptr<Delivery> delivery, std::int64_t priority);
    void performDeliveries();

    MainQueue& home_;
    const std::size_t threadLimit_;
    std::unordered_set<std::shared_ptr<Delivery>> outstanding_;

    std::mutex mutex_; ///< guards what follows, but for the threads
    std::condition_variable wake_;
    bool ending_ = false;
    std::size_t idleThreads_ = 0;
    std::int64_t nextTicket_ = 0;
    /// What waits for a thread, in the order in which it will begin.
    std::map<std::pair<std::int64_t, std::int64_t>, std::shared_ptr<Delivery>> waiting_;
    std::vector<std::thread> threads_;
};

/// The result on its way. Move it nowhere but into a co_await.
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
