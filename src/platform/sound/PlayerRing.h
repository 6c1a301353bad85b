#pragma once

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
    /// Room for a second at the highest rate of a device.
    static constexpr std::size_t blockCount = 768;

    /// `roomMade` is signalled when frames were taken out.
    explicit PlayerRing(WakeUp& roomMade) : blocks_(blockCount), roomMade_(roomMade) {}

    /// @name The decode thread's side
    /// @{

    void push(const PlayerBlock& block) noexcept { blocks_.push(block); }
    std::size_t filled() const noexcept { return blockCount - blocks_.write_available(); }

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

    void setProgress(const Progress& progress) noexcept;

    /// Blocks that can be read or dropped.
    std::size_t readable() const noexcept { return blocks_.read_available(); }
    std::size_t blocksAhead() const noexcept { return blocksAhead_; }

    /// @}

  private:
    std::int64_t validTo(const PlayerBlock& block) const noexcept;
    RunEnd endOf(const PlayerBlock& block) const noexcept;
    bool dropStale() noexcept;
    void pop() noexcept;
    void forgetBranches(std::int64_t upTo) noexcept;

    boost::lockfree::spsc_queue<PlayerBlock> blocks_;
    WakeUp& roomMade_;
    BranchQuestion question_;
    std::atomic<std::size_t> blocksAhead_{blockCount};
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
