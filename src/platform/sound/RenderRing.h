#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/FrameBlock.h"

namespace ambrel {

/// Finished frames between the render thread, which pushes, and the device callback, which pops.
/// Neither ever waits here.
class RenderRing {
  public:
    /// Has room for `frames` frames of the run that is heard and as many of one that was dropped.
    explicit RenderRing(std::size_t frames) : blocks_(2 * (frames / RenderBlock::capacity + 2)) {}

    /// @name The render thread's side
    /// @{

    bool hasRoom() const noexcept { return blocks_.write_available() > 0; }

    void push(const RenderBlock& block) noexcept {
        if (block.epoch != epoch_) {
            epoch_ = block.epoch;
            epochBegin_ = pushed_.load(std::memory_order_relaxed);
        }
        blocks_.push(block);
        pushed_.fetch_add(block.frames, std::memory_order_release);
        if (block.last)
            finishedEpoch_.store(block.epoch, std::memory_order_release);
    }

    /// Frames of run `epoch` that are in the ring.
    std::size_t framesOf(std::int64_t epoch) const noexcept {
        if (epoch != epoch_)
            return 0;
        const std::uint64_t pushed = pushed_.load(std::memory_order_relaxed);
        const std::uint64_t popped = popped_.load(std::memory_order_acquire);
        return static_cast<std::size_t>(pushed - std::max(epochBegin_, popped));
    }

    /// @}
    /// @name The device callback's side
    /// @{

    const RenderBlock* front() const noexcept {
        return blocks_.read_available() > 0 ? &blocks_.front() : nullptr;
    }

    void pop() noexcept {
        const std::size_t frames = blocks_.front().frames;
        blocks_.pop();
        popped_.fetch_add(frames, std::memory_order_release);
    }

    /// Frames in the ring, of any run.
    std::size_t frames() const noexcept {
        return static_cast<std::size_t>(pushed_.load(std::memory_order_acquire) -
                                        popped_.load(std::memory_order_relaxed));
    }

    /// @}

    /// The run whose last frame was pushed most recently. Any thread.
    std::int64_t finishedEpoch() const noexcept {
        return finishedEpoch_.load(std::memory_order_acquire);
    }

  private:
    boost::lockfree::spsc_queue<RenderBlock> blocks_;
    std::atomic<std::uint64_t> pushed_{0};
    std::atomic<std::uint64_t> popped_{0};
    std::atomic<std::int64_t> finishedEpoch_{0};

    // The render thread's.
    std::int64_t epoch_ = 0;
    std::uint64_t epochBegin_ = 0;
};

} // namespace ambrel
