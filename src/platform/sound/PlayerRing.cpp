#include "platform/sound/PlayerRing.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ambrel {

namespace {

bool isBehind(const PlayerBlock& block, const BranchPoint& point) {
    return block.branch < point.branch && block.run.epoch == point.epoch &&
           block.run.run >= point.run;
}

} // namespace

PlayerRing::Progress PlayerRing::progress() const noexcept {
    return {progressEpoch_.load(std::memory_order_acquire),
            progressRun_.load(std::memory_order_acquire),
            progressFrame_.load(std::memory_order_acquire)};
}

void PlayerRing::setProgress(const Progress& progress) noexcept {
    // Read in between, it is further back than it should be, which is refused as a branch.
    if (progressEpoch_.load(std::memory_order_relaxed) != progress.epoch ||
        progressRun_.load(std::memory_order_relaxed) != progress.run) {
        progressFrame_.store(0, std::memory_order_release);
        progressRun_.store(0, std::memory_order_release);
    }
    progressEpoch_.store(progress.epoch, std::memory_order_release);
    progressRun_.store(progress.run, std::memory_order_release);
    progressFrame_.store(progress.frame, std::memory_order_release);
}

void PlayerRing::pop() noexcept {
    blocks_.pop();
    popped_.fetch_add(1, std::memory_order_release);
    taken_ = 0;
    if (blocks_.read_available() < blocksAhead_.load(std::memory_order_relaxed) * 3 / 4)
        roomMade_.signal();
}

/// How many frames of a block still count.
std::int64_t PlayerRing::validTo(const PlayerBlock& block) const noexcept {
    auto valid = static_cast<std::int64_t>(block.frames);
    for (std::size_t i = 0; i < branchCount_; ++i) {
        if (!isBehind(block, branches_[i]))
            continue;
        if (block.run.run > branches_[i].run)
            return 0;
        valid = std::min(valid, branches_[i].frame - block.begin);
    }
    return std::max<std::int64_t>(0, valid);
}

/// The end of the block's run by the newest announcement that there is.
RunEnd PlayerRing::endOf(const PlayerBlock& block) const noexcept {
    for (std::size_t i = branchCount_; i > 0; --i) {
        const BranchPoint& point = branches_[i - 1];
        if (isBehind(block, point) && block.run.run == point.run)
            return point.end;
    }
    return block.end;
}

/// Drops the first block if nothing in it counts any longer.
bool PlayerRing::dropStale() noexcept {
    const PlayerBlock& block = blocks_.front();
    const bool isStale = std::any_of(
        branches_.begin(), branches_.begin() + static_cast<std::ptrdiff_t>(branchCount_),
        [&](const BranchPoint& point) { return isBehind(block, point); });
    if (!isStale) {
        forgetBranches(block.branch);
        return false;
    }
    if (validTo(block) > static_cast<std::int64_t>(taken_))
        return false;
    pop();
    return true;
}

void PlayerRing::forgetBranches(std::int64_t upTo) noexcept {
    const auto end = branches_.begin() + static_cast<std::ptrdiff_t>(branchCount_);
    const auto kept = std::remove_if(
        branches_.begin(), end, [upTo](const BranchPoint& point) { return point.branch <= upTo; });
    branchCount_ = static_cast<std::size_t>(kept - branches_.begin());
}

const RunPlace* PlayerRing::next(std::int64_t epoch) noexcept {
    bool dropped = false;
    while (blocks_.read_available() > 0) {
        const PlayerBlock& block = blocks_.front();
        const bool isOver = block.run.epoch < epoch ||
                            (block.run.epoch == opened_.epoch && block.run.run <= opened_.run);
        if (isOver)
            pop();
        else if (!dropStale())
            break;
        dropped = true;
    }
    if (dropped)
        roomMade_.signal();
    if (blocks_.read_available() == 0 || blocks_.front().run.epoch != epoch)
        return nullptr;
    return &blocks_.front().run;
}

void PlayerRing::enter() noexcept {
    const PlayerBlock& block = blocks_.front();
    opened_ = block.run;
    end_ = block.end;
    passes_.begin(opened_.fileFramesPerFrame);
    passes_.add(block.span);
}

std::size_t PlayerRing::read(float* stereo, std::size_t frames) noexcept {
    std::size_t done = 0;
    while (done < frames && blocks_.read_available() > 0) {
        if (dropStale())
            continue;
        const PlayerBlock& block = blocks_.front();
        if (block.run.epoch != opened_.epoch || block.run.run != opened_.run)
            break;
        const auto valid = static_cast<std::size_t>(validTo(block));
        const std::size_t count = std::min(frames - done, valid - std::min(valid, taken_));
        if (taken_ == 0)
            passes_.add(block.span);
        end_ = endOf(block);
        std::memcpy(stereo + 2 * done, block.samples.data() + 2 * taken_,
                    2 * count * sizeof(float));
        done += count;
        taken_ += count;
        if (taken_ >= valid)
            pop();
    }
    return done;
}

RunEnd PlayerRing::end() noexcept {
    while (blocks_.read_available() > 0 && dropStale()) {
    }
    if (blocks_.read_available() > 0) {
        const PlayerBlock& block = blocks_.front();
        if (block.run.epoch == opened_.epoch && block.run.run == opened_.run)
            end_ = endOf(block);
    }
    return end_;
}

bool PlayerRing::branch(const BranchPoint& point) noexcept {
    // An earlier branch from the same place or further on has nothing left to say.
    const auto end = branches_.begin() + static_cast<std::ptrdiff_t>(branchCount_);
    const auto kept = std::remove_if(branches_.begin(), end, [&](const BranchPoint& earlier) {
        return earlier.epoch < point.epoch ||
               std::pair(earlier.run, earlier.frame) >= std::pair(point.run, point.frame);
    });
    branchCount_ = static_cast<std::size_t>(kept - branches_.begin());
    if (branchCount_ == branches_.size())
        return false;
    branches_[branchCount_++] = point;
    if (point.epoch == opened_.epoch && point.run == opened_.run) {
        end_ = point.end;
        // The boundary may be reached before the frames behind it are read again.
        passes_.cutAt(static_cast<double>(point.boundary));
        if (point.next)
            passes_.add(*point.next);
    }
    roomMade_.signal();
    return true;
}

} // namespace ambrel
