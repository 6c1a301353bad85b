#pragma once

#include <atomic>
#include <cstdint>

namespace ambrel {

/// The epoch to be heard and whether it plays, in one atomic word: how the client's commands reach
/// the render thread and the device callback. Any thread; never waits.
class TransportState {
  public:
    struct Value {
        std::int64_t epoch = 0;
        bool playing = false;
    };

    void set(Value value) noexcept {
        word_.store(value.epoch * 2 + (value.playing ? 1 : 0), std::memory_order_release);
    }

    Value get() const noexcept {
        const std::int64_t word = word_.load(std::memory_order_acquire);
        return {word / 2, word % 2 != 0};
    }

  private:
    std::atomic<std::int64_t> word_{0};
};

} // namespace ambrel
