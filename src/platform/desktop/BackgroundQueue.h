#pragma once

#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include <QThreadPool>

#include "platform/desktop/MainQueue.h"

namespace ambrel {

/// Runs work off the main thread and hands its result back through a MainQueue, so that the result
/// arrives behind every message the work itself sent there before.
///
///     auto file = co_await opens.run([url] { return open(url); });   // resumes on the main thread
///
/// Called and awaited on the main thread. With one thread, work runs one at a time in the order in
/// which it was started. What the work throws is thrown from the co_await.
class BackgroundQueue {
  public:
    BackgroundQueue(MainQueue& home, int threads) : home_(home) {
        pool_.setMaxThreadCount(threads);
    }

    /// Waits for running work; results not yet delivered are delivered to the MainQueue.
    ~BackgroundQueue() { waitForDone(); }
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

    template <typename Work> class Awaitable;

    /// Starts `work` at once, whether or not the result is ever awaited.
    template <typename Work> [[nodiscard]] auto run(Work work) {
        return Awaitable<Work>(pool_, home_, std::move(work));
    }

    void waitForDone() { pool_.waitForDone(); }

  private:
    MainQueue& home_;
    QThreadPool pool_;
};

/// The result on its way. Move it nowhere but into a co_await.
template <typename Work> class BackgroundQueue::Awaitable {
  public:
    using Result = std::invoke_result_t<Work&>;
    using Stored = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;

    Awaitable(QThreadPool& pool, MainQueue& home, Work work) : state_(std::make_shared<State>()) {
        pool.start([state = state_, &home, job = std::move(work)]() mutable {
            try {
                if constexpr (std::is_void_v<Result>) {
                    job();
                    state->value.emplace();
                } else {
                    state->value.emplace(job());
                }
            } catch (...) {
                state->error = std::current_exception();
            }
            home.async([state] {
                state->done = true;
                if (auto waiting = std::exchange(state->waiting, nullptr))
                    waiting.resume();
            });
        });
    }

    bool await_ready() const noexcept { return state_->done; }
    void await_suspend(std::coroutine_handle<> waiting) noexcept { state_->waiting = waiting; }
    Result await_resume() {
        if (state_->error)
            std::rethrow_exception(state_->error);
        if constexpr (!std::is_void_v<Result>)
            return std::move(*state_->value);
    }

  private:
    /// Written by the pool before the MainQueue takes over, by the main thread afterwards.
    struct State {
        std::optional<Stored> value;
        std::exception_ptr error;
        bool done = false;
        std::coroutine_handle<> waiting;
    };
    std::shared_ptr<State> state_;
};

} // namespace ambrel
