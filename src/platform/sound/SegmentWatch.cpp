#include "platform/sound/SegmentWatch.h"

#include <utility>

namespace ambrel {

namespace {
/// Between two looks at the output while the last frames are on their way to the loudspeaker.
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
    if (current_)
        dropped_.push_back(std::exchange(current_, nullptr));
    firstEpoch_ = firstEpoch;
    current_ = std::move(completion);
    wiring_.wake.signal();
}

void SegmentWatch::drop() {
    const std::scoped_lock lock(mutex_);
    if (current_)
        dropped_.push_back(std::exchange(current_, nullptr));
    wiring_.wake.signal();
}

void SegmentWatch::setActive(bool active) {
    const std::scoped_lock lock(mutex_);
    if (active_ == active)
        return;
    active_ = active;
    idleReported_ = false;
    idleSince_ = std::chrono::steady_clock::now();
    wiring_.wake.signal();
}

bool SegmentWatch::endHandedOver() const {
    const OutputStage::Progress progress = wiring_.stage.progress();
    return current_ && progress.ended && progress.epoch >= firstEpoch_;
}

std::vector<SegmentWatch::Completion> SegmentWatch::takeDue() {
    const std::scoped_lock lock(mutex_);
    if (ending_ && current_)
        dropped_.push_back(std::exchange(current_, nullptr));
    if (endHandedOver() && wiring_.framesHeard() >= wiring_.stage.endFrame()) {
        dropped_.push_back(std::exchange(current_, nullptr));
        active_ = false;
        idleReported_ = false;
        idleSince_ = std::chrono::steady_clock::now();
    }
    return std::exchange(dropped_, {});
}

void SegmentWatch::run() {
    for (;;) {
        const bool ending = ending_;
        for (const Completion& completion : takeDue())
            completion();
        if (ending)
            return;
        wait();
    }
}

void SegmentWatch::wait() {
    bool report = false;
    std::chrono::milliseconds limit{0};
    {
        const std::scoped_lock lock(mutex_);
        const auto idleFor = std::chrono::steady_clock::now() - idleSince_;
        if (!dropped_.empty())
            return;
        if (endHandedOver())
            limit = lookAgainAfter;
        else if (!active_ && !idleReported_ && idleFor >= idleAfter)
            report = idleReported_ = true;
        else if (!active_ && !idleReported_)
            limit = std::chrono::duration_cast<std::chrono::milliseconds>(idleAfter - idleFor) +
                    std::chrono::milliseconds(1);
    }
    if (report)
        wiring_.idle();
    else if (limit.count() > 0)
        wiring_.wake.waitFor(limit);
    else
        wiring_.wake.wait();
}

} // namespace ambrel
