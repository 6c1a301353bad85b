#include "platform/sound/play/SegmentWatch.h"

#include <limits>
#include <utility>

#include "platform/sound/thread/SoundPriority.h"

namespace ambrel {

namespace {
/// Polling interval while the last frames are on their way to the loudspeaker.
constexpr std::chrono::milliseconds lookAgainAfter{2};
} // namespace

SegmentWatch::SegmentWatch(Wiring wiring)
    : wiring_(std::move(wiring)), thread_([this] { run(); }) {}

SegmentWatch::~SegmentWatch() {
    ending_ = true;
    wiring_.wake.signal();
    thread_.join();
}

void SegmentWatch::add(std::int64_t firstEpoch, Completion completion) {
    const std::scoped_lock lock(mutex_);
    due_.splice(due_.end(), current_);
    firstEpoch_ = firstEpoch;
    current_.push_back(std::move(completion));
    pass_ = 0;
    newest_.reset();
    wiring_.wake.signal();
}

void SegmentWatch::drop() {
    const std::scoped_lock lock(mutex_);
    due_.splice(due_.end(), current_);
    newest_.reset();
    firstEpoch_ = std::numeric_limits<std::int64_t>::max();
    wiring_.wake.signal();
}

std::optional<Pass> SegmentWatch::followingLocked() const {
    return current_.empty() ? newest_ : std::nullopt;
}

std::optional<Pass> SegmentWatch::following() const {
    const std::scoped_lock lock(mutex_);
    return followingLocked();
}

std::optional<Pass> SegmentWatch::adopt(std::int64_t announcement, Completion completion) {
    const std::scoped_lock lock(mutex_);
    if (!followingLocked() || newest_->announcement != announcement)
        return std::nullopt;
    current_.push_back(std::move(completion));
    pass_ = newest_->number;
    wiring_.wake.signal();
    return std::exchange(newest_, std::nullopt);
}

std::int64_t SegmentWatch::watchedPass() const {
    const std::scoped_lock lock(mutex_);
    return pass_;
}

void SegmentWatch::setActive(bool active) {
    const std::scoped_lock lock(mutex_);
    if (active_ == active)
        return;
    active_ = active;
    idleReported_ = false;
    idleSince_ = SoundClock::now();
    wiring_.wake.signal();
}

bool SegmentWatch::isEndOnItsWay() const {
    const OutputStage::Progress progress = wiring_.stage.progress();
    return progress.ended && progress.epoch >= firstEpoch_ && active_;
}

/// Finds out which boundaries have been heard.
void SegmentWatch::hearBoundaries() {
    const std::int64_t heard = wiring_.framesHeard();
    while (const OutputStage::Boundary* boundary = wiring_.stage.oldestBoundary()) {
        if (boundary->epoch >= firstEpoch_) {
            if (boundary->outputFrame > heard)
                break;
            newest_ = boundary->next;
        }
        wiring_.stage.dropBoundary();
    }
    // No completion while paused.
    if (newest_ && newest_->number > pass_ && active_)
        due_.splice(due_.end(), current_);
    if (isEndOnItsWay() && heard >= wiring_.stage.endFrame()) {
        // Passes that were not adopted ended with it.
        due_.splice(due_.end(), current_);
        newest_.reset();
        active_ = false;
        idleReported_ = false;
        idleSince_ = SoundClock::now();
    }
}

SegmentWatch::Completion SegmentWatch::takeDue() noexcept {
    const std::scoped_lock lock(mutex_);
    if (ending_)
        due_.splice(due_.end(), current_);
    hearBoundaries();
    if (due_.empty())
        return nullptr;
    Completion completion = std::move(due_.front());
    due_.pop_front();
    return completion;
}

void SegmentWatch::run() {
    if (wiring_.isPaced)
        raiseSoundPriority(SoundUrgency::ahead);
    for (;;) {
        const bool ending = ending_;
        try {
            while (const Completion completion = takeDue())
                completion();
            if (ending)
                return;
            wait();
        } catch (...) { // the next completion must still be called
        }
    }
}

void SegmentWatch::wait() {
    bool report = false;
    auto deadline = SoundClock::time_point::max();
    {
        const std::scoped_lock lock(mutex_);
        const auto now = SoundClock::now();
        if (!due_.empty())
            return;
        if (isEndOnItsWay() || wiring_.stage.oldestBoundary()) {
            deadline = now + lookAgainAfter;
        } else if (!active_ && !idleReported_) {
            deadline = idleSince_ + idleAfter;
            report = idleReported_ = now >= deadline;
        }
    }
    if (report)
        wiring_.idle();
    else
        wiring_.wake.waitUntil(deadline);
}

} // namespace ambrel
