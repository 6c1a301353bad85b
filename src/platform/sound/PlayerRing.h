#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/BranchPoint.h"
#include "platform/sound/FrameBlock.h"
#include "platform/sound/PassMap.h"
#include "platform/sound/WakeUp.h"

namespace ambrel {

/// Frames between the decode thread, which pushes, and the render thread, which reads. Neither ever
/// waits here.
class PlayerRing final : public FrameInput {
  public:
    /// Room for `blocks` blocks. `roomMade` is signalled when frames were taken out.
    PlayerRing(WakeUp& roomMade, std::size_t blocks)
        : blocks_(blocks), room_(blocks), roomMade_(roomMade) {}

    /// @name The decode thread's side
    /// @{

    void push(const PlayerBlock& block) noexcept {
        blocks_.push(block);
        pushed_.fetch_add(1, std::memory_order_release);
    }

    /// From here on fresh() counts: another segment or another branch begins.
    void beginFresh() noexcept {
        freshFrom_.store(pushed_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    }

    /// As many blocks are kept ready; set when a segment begins.
    void setBlocksAhead(std::size_t blocks) noexcept { blocksAhead_ = blocks; }

    /// How far the render thread has come: a change of what follows reaches it in time from this
    /// frame of this run on. A pair read while it changes is refused as a branch.
    struct Progress {
        std::int64_t epoch = 0;
        std::int64_t run = 0;
        std::int64_t frame = 0;
    };
    Progress progress() const noexcept;

    BranchQuestion& question() noexcept { return question_; }

    /// @}
    /// @name The render thread's side
    /// @{

    /// Drops what lies before the next run of this epoch, and gives its place when its first frames
    /// are there, nullptr before.
    const RunPlace* next(std::int64_t epoch) noexcept;

    /// From now on the run that next() gave is read.
    void enter() noexcept;

    /// Frames of the run that was entered last.
    std::size_t read(float* stereo, std::size_t frames) noexcept override;

    /// Where that run ends, as the next frame to be read knows it.
    RunEnd end() noexcept;
    std::optional<std::int64_t> runEnd() noexcept override { return end().frame; }

    /// Which passes the frames read belong to.
    const PassMap& passes() const noexcept { return passes_; }

    /// Frames behind the branch point count no longer. False if too many branches are waiting.
    bool branch(const BranchPoint& point) noexcept;

    /// Answers the question that was taken.
    void answer(bool accepted) noexcept {
        question_.answer(accepted);
        roomMade_.signal();
    }

    /// Answers the question, if one was taken.
    void refuse() noexcept {
        if (question_.refuse())
            roomMade_.signal();
    }

    void setProgress(const Progress& progress) noexcept;

    /// @}

    /// Blocks in the ring of what began last; those before it may be dropped any time. Both sides.
    std::size_t fresh() const noexcept {
        const std::size_t pushed = pushed_.load(std::memory_order_acquire);
        return pushed - std::max(popped_.load(std::memory_order_acquire),
                                 freshFrom_.load(std::memory_order_relaxed));
    }
    bool isFull() const noexcept {
        return pushed_.load(std::memory_order_acquire) - popped_.load(std::memory_order_acquire) >=
               room_;
    }
    std::size_t blocksAhead() const noexcept { return blocksAhead_; }

  private:
    std::int64_t validTo(const PlayerBlock& block) const noexcept;
    RunEnd endOf(const PlayerBlock& block) const noexcept;
    bool dropStale() noexcept;
    void pop() noexcept;
    void forgetBranches(std::int64_t upTo) noexcept;

    boost::lockfree::spsc_queue<PlayerBlock> blocks_;
    std::size_t room_;
    WakeUp& roomMade_;
    BranchQuestion question_;
    std::atomic<std::size_t> blocksAhead_{0};
    std::atomic<std::size_t> pushed_{0};    ///< blocks
    std::atomic<std::size_t> popped_{0};    ///< blocks
    std::atomic<std::size_t> freshFrom_{0}; ///< of pushed_
    std::atomic<std::int64_t> progressEpoch_{0};
    std::atomic<std::int64_t> progressRun_{0};
    std::atomic<std::int64_t> progressFrame_{0};

    // The render thread's.
    RunPlace opened_;
    PassMap passes_;
    RunEnd end_;
    std::size_t taken_ = 0; ///< frames of the first block that were read already
    std::array<BranchPoint, 32> branches_{};
    std::size_t branchCount_ = 0;
};

} // namespace ambrel
