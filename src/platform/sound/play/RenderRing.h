#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/play/FrameBlock.h"

namespace ambrel {

/// Ring buffer from the render thread, which pushes blocks, to the device callback, which pops
/// them. Neither ever waits.
class RenderRing {
  public:
    /// Holds `frames` frames of the current epoch and as many of a dropped one.
    explicit RenderRing(std::size_t frames) : blocks_(2 * (frames / RenderBlock::capacity + 2)) {}

    /// @name The render thread's side
    /// @{

    bool hasRoom() const noexcept { return blocks_.write_available() > 0; }

    void push(const RenderBlock& block) noexcept {
        if (block.epoch != epoch_.load(std::memory_order_relaxed)) {
            epochBegin_.store(pushed_.load(std::memory_order_relaxed), std::memory_order_relaxed);
            epoch_.store(block.epoch, std::memory_order_release);
        }
        blocks_.push(block);
        pushed_.fetch_add(block.frames, std::memory_order_release);
        if (block.last)
            finishedEpoch_.store(block.epoch, std::memory_order_release);
    }

    /// @}
    /// @name The device callback's side
    /// @{

    const RenderBlock* front() const noexcept {
        return blocks_.read_available() > 0 ? &blocks_.front() : nullptr;
    }

    /// Frames already taken from the first block.
    std::size_t taken() const noexcept { return taken_; }

    void take(std::size_t frames) noexcept {
        taken_ += frames;
        popped_.fetch_add(frames, std::memory_order_release);
    }

    /// Drops the rest of the first block.
    void pop() noexcept {
        take(blocks_.front().frames - taken_);
        blocks_.pop();
        taken_ = 0;
    }

    /// Frames in the ring, of all epochs.
    std::size_t frames() const noexcept {
        return static_cast<std::size_t>(pushed_.load(std::memory_order_acquire) -
                                        popped_.load(std::memory_order_relaxed));
    }

    /// @}

    /// Frames of this epoch in the ring. Either side.
    std::size_t framesOf(std::int64_t epoch) const noexcept {
        if (epoch != epoch_.load(std::memory_order_acquire))
            return 0;
        const std::uint64_t pushed = pushed_.load(std::memory_order_acquire);
        return static_cast<std::size_t>(pushed -
                                        std::max(epochBegin_.load(std::memory_order_relaxed),
                                                 popped_.load(std::memory_order_acquire)));
    }

    /// The epoch whose last frame was pushed most recently. Any thread.
    std::int64_t finishedEpoch() const noexcept {
        return finishedEpoch_.load(std::memory_order_acquire);
    }

  private:
    boost::lockfree::spsc_queue<RenderBlock> blocks_;
    std::atomic<std::uint64_t> pushed_{0};
    std::atomic<std::uint64_t> popped_{0};
    std::size_t taken_ = 0; ///< used by the callback only
    std::atomic<std::int64_t> finishedEpoch_{0};
    std::atomic<std::int64_t> epoch_{0};       ///< of the newest block
    std::atomic<std::uint64_t> epochBegin_{0}; ///< pushed_ when that epoch began
};

} // namespace ambrel
