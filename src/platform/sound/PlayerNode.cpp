#include "platform/sound/PlayerNode.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/sound/AudioFile.h"
#include "platform/sound/RunTimes.h"
#include "platform/sound/SoundPriority.h"

namespace ambrel {

namespace {
/// The first chunks are small so that the first frames come out early.
constexpr std::size_t firstChunkFrames = 512;
constexpr std::size_t largestChunkFrames = 4096;

/// A second at the highest rate of a device.
constexpr std::size_t mostBlocksAhead = 768;
/// Not paced, blocks that no longer count lie in the ring until the next pull, with those of every
/// announcement since.
constexpr std::size_t blocksOffline = 4096;

std::size_t blocksInASecond(int rateHz) {
    return std::min(mostBlocksAhead, std::size_t(rateHz) / PlayerBlock::capacity + 1);
}
} // namespace

/// A plan under a new announcement, read from where it makes a difference on.
struct PlayerNode::Branch {
    BranchPoint point;
    std::unique_ptr<PlayPlan> plan; ///< run and reader refer to it
    const PlayPlan::Run* run = nullptr;
    std::unique_ptr<RunReader> reader;
    std::vector<float> chunk;
};

PlayerNode::PlayerNode(WakeUp& framesReady, bool paced)
    : framesReady_(framesReady), paced_(paced),
      ring_(wake_, paced ? mostBlocksAhead : blocksOffline), thread_([this] { decode(); }) {}

PlayerNode::~PlayerNode() {
    ending_ = true;
    wake_.signal();
    thread_.join();
}

void PlayerNode::play(Segment segment, const std::optional<Continuation>& next) {
    Wish wish{std::move(segment), next}; // what it replaces is let go outside the mutex
    {
        const std::scoped_lock lock(wishMutex_);
        std::swap(wish_, wish);
        isNewSegment_ = true;
        ++wished_;
    }
    wake_.signal();
}

void PlayerNode::follow(const std::optional<Continuation>& next) {
    std::int64_t wished = 0;
    {
        const std::scoped_lock lock(wishMutex_);
        wish_.next = next;
        wished = ++wished_;
    }
    wake_.signal();
    while (!paced_ && heeded_.load(std::memory_order_acquire) < wished)
        heedWake_.wait();
}

bool PlayerNode::hasAhead(std::size_t frames) noexcept {
    const std::int64_t wished = wished_.load(std::memory_order_acquire);
    // Blocks are full but for one where each region of the course begins.
    const std::size_t blocks =
        std::min(frames / PlayerBlock::capacity + 2 + PassCourse::mostKept, ring_.blocksAhead());
    if (heeded_.load(std::memory_order_acquire) == wished &&
        (allRead_.load(std::memory_order_acquire) == wished || ring_.fresh() >= blocks ||
         ring_.isFull()))
        return true;
    wake_.signal();
    return false;
}

bool PlayerNode::isSuperseded() const {
    return ending_ || wished_ != taken_;
}

void PlayerNode::decode() {
    if (paced_)
        raiseSoundPriority(SoundUrgency::ahead);
    while (!ending_) {
        try {
            step();
        } catch (...) {
            breakOff(); // memory has run out, most likely
        }
    }
}

void PlayerNode::step() {
    // Pulled offline, what is read ahead must not depend on when an announcement came.
    // A stream of them must not keep it from reading either.
    if (isSuperseded() && (isNewSegment_ || (paced_ && hasReadOn_)))
        takeWish();
    else if (pushBlock() || readOn())
        hasReadOn_ = true;
    else if (isSuperseded())
        takeWish();
    else
        wake_.wait();
}

/// The segment ends with what of it is in the ring: nothing more can be read.
void PlayerNode::breakOff() noexcept {
    reader_ = nullptr;
    plan_ = nullptr;
    if (isRunRead_ && !isBlockDue_) { // and its end with it
        ++place_.run;
        pushed_ = 0;
    }
    chunk_.clear();
    chunkDone_ = 0;
    isBlockDue_ = true;
    tellHeeded();
}

void PlayerNode::takeWish() {
    Wish wish;
    bool isNew = false;
    {
        const std::scoped_lock lock(wishMutex_);
        taken_ = wished_;
        hasReadOn_ = false;
        isNew = isNewSegment_.exchange(false);
        wish.next = wish_.next;
        if (isNew)
            wish.segment = std::move(wish_.segment);
        wish_.segment.file = nullptr;
    }
    if (isNew)
        beginSegment(std::move(wish.segment), wish.next);
    else if (plan_)
        announce(wish.next);
    tellHeeded();
}

void PlayerNode::tellHeeded() noexcept {
    heeded_.store(taken_, std::memory_order_release);
    heedWake_.signal();
    framesReady_.signal();
}

void PlayerNode::beginSegment(Segment segment, const std::optional<Continuation>& next) {
    reader_ = nullptr;
    plan_ = nullptr;
    isBlockDue_ = isRunRead_ = false;
    pushed_ = 0;
    ring_.beginFresh();
    segment_ = std::move(segment);
    place_ = {segment_.epoch};
    if (!segment_.file)
        return;
    ring_.setBlocksAhead(blocksInASecond(segment_.outputRateHz));
    rates_ = {segment_.file->sampleRate(), segment_.outputRateHz};
    plan_ = std::make_unique<PlayPlan>(segment_.first, next);
    beginRun(*plan_->run(0));
}

void PlayerNode::beginRun(const PlayPlan::Run& run) {
    run_ = &run;
    setPlace();
    isRunRead_ = false;
    pushed_ = 0;
    reader_ = std::make_unique<RunReader>(segment_.file, run.course, rates_, 0);
    toRead_ = firstChunkFrames;
}

void PlayerNode::setPlace() {
    constexpr double longestPauseSeconds = 1e6;
    const double pause = std::clamp(run_->pauseSeconds, 0.0, longestPauseSeconds);
    place_ = {segment_.epoch, run_->number, pause * rates_.deviceHz, rates_.fileFramesPerFrame()};
}

/// Reads the next frames once the last are in the ring; false when there are none left.
bool PlayerNode::readOn() {
    if (isBlockDue_)
        return false;
    if (plan_ && !isRunRead_) {
        readChunk();
        return true;
    }
    if (const PlayPlan::Run* next = plan_ ? plan_->run(run_->number + 1) : nullptr) {
        beginRun(*next);
        const PlayerRing::Progress progress = ring_.progress();
        if (progress.epoch == segment_.epoch)
            plan_->forgetBefore(progress.run);
        return true;
    }
    allRead_.store(taken_, std::memory_order_release);
    framesReady_.signal();
    return false;
}

void PlayerNode::readChunk() {
    chunk_.resize(2 * toRead_);
    const std::size_t frames = reader_->read(chunk_.data(), toRead_);
    chunk_.resize(2 * frames);
    isRunRead_ = frames < toRead_;
    toRead_ = std::min(2 * toRead_, largestChunkFrames);
    chunkDone_ = 0;
    // A run without a frame still sends a block, which tells that it begins and ends.
    isBlockDue_ = frames > 0 || pushed_ == 0;
}

/// False when there is nothing to push or no room.
bool PlayerNode::pushBlock() {
    if (!isBlockDue_)
        return false;
    if (ring_.fresh() >= ring_.blocksAhead() || ring_.isFull()) {
        framesReady_.signal();
        return false;
    }
    const std::size_t frames = chunk_.size() / 2;
    const RunTimes times(rates_);
    std::int64_t until = pushed_;
    PlayerBlock block;
    block.run = place_;
    block.branch = branch_;
    block.begin = pushed_;
    block.end.frame = pushed_; // broken off, unless there is a plan
    block.end.exactFrame = block.span.begin = static_cast<double>(pushed_);
    if (plan_) {
        block.end = times.end(*run_);
        block.span = times.spanAt(run_->course, pushed_, until);
    }
    block.frames = std::min({frames - chunkDone_, PlayerBlock::capacity,
                             static_cast<std::size_t>(std::max<std::int64_t>(1, until - pushed_))});
    std::copy_n(chunk_.data() + 2 * chunkDone_, 2 * block.frames, block.samples.data());
    ring_.push(block);
    chunkDone_ += block.frames;
    pushed_ += static_cast<std::int64_t>(block.frames);
    isBlockDue_ = chunkDone_ < frames;
    if (!isBlockDue_)
        framesReady_.signal();
    return true;
}

/// `next` is to follow from the next boundary on that can still be reached in time.
void PlayerNode::announce(const std::optional<Continuation>& next) {
    // After a refusal the next boundary is looked for further on, as reading takes its time too.
    std::int64_t lead = 0;
    while (const auto boundary = nextBoundary(lead)) {
        if (boundary->run > run_->number ||
            (boundary->run == run_->number && reader_->boundariesSeenTo() <= boundary->frame)) {
            plan_->follow(*boundary, next);
            return;
        }
        Branch branch = prepareBranch(*boundary, next);
        if (isAccepted(branch.point)) {
            takeBranch(std::move(branch));
            return;
        }
        if (isSuperseded())
            return;
        lead = std::max<std::int64_t>(2 * lead, rates_.deviceHz / 20);
    }
}

std::optional<PlayPlan::Boundary> PlayerNode::nextBoundary(std::int64_t lead) {
    const PlayerRing::Progress progress = ring_.progress();
    const bool hasBegun = progress.epoch == segment_.epoch;
    const std::int64_t run = hasBegun ? progress.run : 0;
    // Rounded up: a boundary before it would be refused.
    const std::int64_t frame =
        hasBegun ? rates_.toFile(progress.frame + lead) + (rates_.equal() ? 0 : 1) : 0;
    if (const auto boundary = plan_->boundaryFrom(run, frame))
        return boundary;
    // Behind everything read so far: the run after that, if there will be one.
    return plan_->run(run_->number + 1) ? plan_->boundaryFrom(run_->number + 1, 0) : std::nullopt;
}

PlayerNode::Branch PlayerNode::prepareBranch(PlayPlan::Boundary boundary,
                                             const std::optional<Continuation>& next) {
    Branch branch;
    branch.plan = std::make_unique<PlayPlan>(*plan_);
    branch.plan->follow(boundary, next);
    branch.run = branch.plan->run(boundary.run);
    const bool hasSeam = plan_->isSeamless(boundary) || branch.plan->isSeamless(boundary);
    std::int64_t frame =
        hasSeam ? RunReader::changesFrom(boundary.frame, rates_) : rates_.toDevice(boundary.frame);
    if (boundary.run == run_->number)
        frame = std::min(frame, pushed_); // what is not in the ring yet is read anew
    branch.point = {segment_.epoch,
                    branch_ + 1,
                    boundary.run,
                    frame,
                    rates_.toDevice(boundary.frame),
                    RunTimes(rates_).end(*branch.run),
                    std::nullopt};
    if (const Passes* following = branch.run->course.from(boundary.frame))
        branch.point.next = RunTimes(rates_).span(*following);
    branch.reader = std::make_unique<RunReader>(segment_.file, branch.run->course, rates_, frame);
    branch.chunk.resize(2 * firstChunkFrames);
    branch.chunk.resize(2 * branch.reader->read(branch.chunk.data(), firstChunkFrames));
    return branch;
}

/// Asks the render thread whether it has not come so far yet.
bool PlayerNode::isAccepted(const BranchPoint& point) {
    BranchQuestion& question = ring_.question();
    question.ask(point);
    framesReady_.signal();
    for (;;) {
        const BranchQuestion::State state = question.takeAnswer();
        if (state == BranchQuestion::State::accepted || state == BranchQuestion::State::refused)
            return state == BranchQuestion::State::accepted;
        if (isSuperseded() && question.withdraw())
            return false;
        wake_.wait();
    }
}

void PlayerNode::takeBranch(Branch branch) {
    reader_ = std::move(branch.reader);
    plan_ = std::move(branch.plan);
    run_ = branch.run;
    branch_ = branch.point.branch;
    ring_.beginFresh();
    setPlace();
    pushed_ = branch.point.frame;
    chunk_ = std::move(branch.chunk);
    chunkDone_ = 0;
    isRunRead_ = chunk_.size() < 2 * firstChunkFrames;
    toRead_ = firstChunkFrames;
    isBlockDue_ = !chunk_.empty() || pushed_ == 0;
}

} // namespace ambrel
