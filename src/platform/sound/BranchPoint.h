#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "platform/sound/FrameBlock.h"

namespace ambrel {

/// Where frames that were read ahead are replaced, because something else was announced to follow.
struct BranchPoint {
    std::int64_t epoch = 0;
    std::int64_t branch = 0; ///< frames read from here on carry this number
    std::int64_t run = 0;
    std::int64_t frame = 0;       ///< of the run; what lies before it stays valid
    std::int64_t boundary = 0;    ///< the run's frame from which on something else is meant
    RunEnd end;                   ///< of the run, under the new announcement
    std::optional<PassSpan> next; ///< what begins at the boundary, if the run goes on there
};

/// How the decode thread asks the render thread whether it is still early enough for a branch: one
/// question at a time. Neither waits for the other.
class BranchQuestion {
  public:
    enum class State { none, asked, answering, accepted, refused };

    /// @name The decode thread's side
    /// @{

    void ask(const BranchPoint& point) noexcept {
        point_ = point;
        state_.store(State::asked, std::memory_order_release);
    }

    /// accepted or refused once there is an answer, which ends the question.
    State takeAnswer() noexcept {
        const State state = state_.load(std::memory_order_acquire);
        if (state == State::accepted || state == State::refused)
            state_.store(State::none, std::memory_order_relaxed);
        return state;
    }

    /// Takes the question back; false if it is being answered, which takes no time.
    bool withdraw() noexcept { return swap(State::asked, State::none); }

    /// @}
    /// @name The render thread's side
    /// @{

    /// Whether there is a question. If so it can no longer be taken back, and must be answered.
    bool take() noexcept { return swap(State::asked, State::answering); }

    /// What is asked, between take() and answer().
    const BranchPoint& point() const noexcept { return point_; }

    /// Refuses what was taken; false if nothing was.
    bool refuse() noexcept { return swap(State::answering, State::refused); }

    void answer(bool accepted) noexcept {
        state_.store(accepted ? State::accepted : State::refused, std::memory_order_release);
    }

    /// @}

  private:
    bool swap(State from, State to) noexcept {
        return state_.compare_exchange_strong(from, to, std::memory_order_acq_rel);
    }

    BranchPoint point_;
    std::atomic<State> state_{State::none};
};

} // namespace ambrel
