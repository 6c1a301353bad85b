#pragma once

#include <atomic>
#include <cstdint>

namespace ambrel {

/// The epoch to be heard and whether it plays, in one atomic word: how the client's commands reach
/// the render thread and the device callback. Any thread; never waits.
class PlayGate {
  public:
    struct State {
        std::int64_t epoch = 0;
        bool playing = false;
    };

    void set(State state) noexcept {
        word_.store(state.epoch * 2 + (state.playing ? 1 : 0), std::memory_order_release);
    }

    State get() const noexcept {
        const std::int64_t word = word_.load(std::memory_order_acquire);
        return {word / 2, word % 2 != 0};
    }

  private:
    std::atomic<std::int64_t> word_{0};
};

} // namespace ambrel
