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
    /// The most frames kept for one request: as many as PipeWire's longest cycle has.
    static constexpr std::size_t largestRequest = 8'192;

    /// `margin`: frames kept besides.
    explicit RenderRing(std::size_t margin)
        : margin_(margin), blocks_(2 * ((largestRequest + margin) / RenderBlock::capacity + 2)) {}

    /// @name The render thread's side
    /// @{

    /// How many frames to keep in the ring.
    std::size_t wanted() const noexcept {
        return request_.load(std::memory_order_relaxed) + margin_;
    }

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

    /// For a device that is about to ask: keeps `request` frames for a request, or as many as the
    /// latest asked for; the most at first, as a first request tells little of those that follow.
    /// While the callback does not run.
    void begin(std::size_t request) noexcept {
        least_ = largest_ = std::min(request, largestRequest);
        requests_ = 0;
        request_.store(largestRequest, std::memory_order_relaxed);
    }

    /// Notes a request. True if more frames are wanted than before.
    bool expect(std::size_t frames) noexcept {
        const std::size_t before = request_.load(std::memory_order_relaxed);
        largest_ = std::max(largest_, std::min(frames, largestRequest));
        std::size_t request = std::max(before, largest_);
        if (++requests_ == requestsPerStretch) {
            request = largest_;
            largest_ = least_;
            requests_ = 0;
        }
        request_.store(request, std::memory_order_relaxed);
        return request > before;
    }

    /// Whether a request for so many frames, or the most that are kept, can be met.
    bool isReadyFor(std::size_t frames) const noexcept {
        return this->frames() >= std::min(frames, largestRequest);
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
    /// What the largest of so many asked for is kept for as many more.
    static constexpr int requestsPerStretch = 8;

    const std::size_t margin_;
    std::atomic<std::size_t> request_{largestRequest}; ///< frames kept for one
    // Used by the callback only.
    std::size_t least_ = 0;   ///< to be kept
    std::size_t largest_ = 0; ///< of the latest requests, or that
    int requests_ = 0;        ///< how many those are
    boost::lockfree::spsc_queue<RenderBlock> blocks_;
    std::atomic<std::uint64_t> pushed_{0};
    std::atomic<std::uint64_t> popped_{0};
    std::size_t taken_ = 0; ///< used by the callback only
    std::atomic<std::int64_t> finishedEpoch_{0};
    std::atomic<std::int64_t> epoch_{0};       ///< of the newest block
    std::atomic<std::uint64_t> epochBegin_{0}; ///< pushed_ when that epoch began
};

} // namespace ambrel
