#include "platform/sound/play/PassReader.h"

#include <algorithm>

#include "platform/sound/effect/Correlation.h"
#include "platform/sound/effect/Crossfade.h"
#include "platform/sound/play/FrameCache.h"
#include "platform/sound/stretch/FrameInput.h"

namespace ambrel {

namespace {

/// The announcement after one of its passes has been taken.
std::optional<Announcement> withoutFirst(Announcement next) {
    if (next.passes == 1)
        return std::nullopt;
    if (next.passes != Announcement::unlimited)
        --next.passes;
    return next;
}

} // namespace

void PassReader::begin(int fileHz, const Pass& first, std::int64_t heard,
                       const std::optional<Announcement>& next) {
    longestCrossfade_ = std::min(std::int64_t{fileHz} * 5 / 1000, Crossfaded::mostFrames);
    crossfade_.frames = -1;
    timeline_.begin(first, heard);
    next_ = 0;
    following_ = next;
    isEndSettled_ = false;
}

bool PassReader::beginNextRun() {
    settleEnd();
    if (!afterEnd_)
        return false;
    timeline_.begin(*afterEnd_, 0);
    next_ = 0;
    isEndSettled_ = false;
    return true;
}

bool PassReader::followsSeamlessly() const noexcept {
    return !isEndSettled_ && following_ && following_->pauseSeconds <= 0;
}

/// Appends the announced pass to the run; false if the run ends here.
bool PassReader::decide() noexcept {
    if (!followsSeamlessly())
        return false;
    timeline_.append(*following_);
    following_ = withoutFirst(*following_);
    return true;
}

void PassReader::settleEnd() noexcept {
    if (isEndSettled_)
        return;
    afterEnd_ = afterEnd();
    if (following_)
        following_ = withoutFirst(*following_);
    isEndSettled_ = true;
}

std::optional<Pass> PassReader::afterEnd() const noexcept {
    if (isEndSettled_)
        return afterEnd_;
    return following_ && !followsSeamlessly() ? std::optional(timeline_.passBehind(*following_))
                                              : std::nullopt;
}

std::int64_t PassReader::end() const noexcept {
    const std::int64_t decided = timeline_.end();
    if (!followsSeamlessly())
        return decided;
    const std::int64_t most = (FrameInput::endless - decided) / following_->frameCount;
    return following_->passes > most ? FrameInput::endless
                                     : decided + following_->passes * following_->frameCount;
}

std::int64_t PassReader::leftInPass() const noexcept {
    return timeline_.at(next_).boundaryAfter(next_) - next_;
}

std::optional<std::int64_t> PassReader::follow(const std::optional<Announcement>& next,
                                               double changeable) {
    while (double(timeline_.end()) < changeable && decide()) {
    }
    if (double(timeline_.end()) < changeable) { // the run's end is too near
        settleEnd();
        following_ = afterEnd_ ? next : std::nullopt;
        return std::nullopt;
    }
    const std::int64_t boundary =
        timeline_.boundaryFrom(static_cast<std::int64_t>(std::ceil(changeable)));
    const bool wasSeamless = boundary < timeline_.end() || followsSeamlessly();
    timeline_.cutAt(boundary);
    isEndSettled_ = false;
    following_ = next;
    const std::int64_t changed = std::max<std::int64_t>(
        0, wasSeamless || followsSeamlessly() ? boundary - longestCrossfade_ : boundary);
    if (next_ <= changed)
        return std::nullopt;
    next_ = changed;
    return changed;
}

std::size_t PassReader::read(float* stereo, std::size_t frames) {
    std::size_t done = 0;
    while (done < frames) {
        if (next_ >= timeline_.end() && !decide())
            break;
        const RunTimeline::Row& row = timeline_.at(next_);
        const std::int64_t boundary = row.boundaryAfter(next_);
        const std::int64_t length = crossfadeLength(boundary);
        const auto room = static_cast<std::int64_t>(frames - done);
        float* out = stereo + 2 * done;
        std::int64_t count = std::min(room, boundary - length - next_);
        if (count > 0) {
            const std::size_t got =
                cache_.read(row.fileFrameAt(next_), out, static_cast<std::size_t>(count));
            next_ += static_cast<std::int64_t>(got);
            done += got;
            if (got < static_cast<std::size_t>(count))
                break;
            continue;
        }
        if (!makeCrossfade(boundary, length))
            break;
        count = std::min(room, boundary - next_);
        std::copy_n(crossfade_.stereo.data() + 2 * (next_ - (boundary - length)), 2 * count, out);
        next_ += count;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

/// Length of the crossfade before `boundary`, as far as is known.
std::int64_t PassReader::crossfadeLength(std::int64_t boundary) const noexcept {
    const bool isDecided = boundary < timeline_.end();
    if (!isDecided && !followsSeamlessly())
        return 0;
    const std::int64_t after =
        isDecided ? timeline_.at(boundary).first.frameCount : following_->frameCount;
    return std::min(
        {longestCrossfade_, timeline_.at(boundary - 1).first.frameCount / 2, after / 2});
}

/// False if the cache lacks frames.
bool PassReader::makeCrossfade(std::int64_t boundary, std::int64_t frames) {
    if (boundary == timeline_.end())
        decide();
    const Pass& before = timeline_.at(boundary - 1).first;
    const std::int64_t end = before.startFrame + before.frameCount;
    const std::int64_t start = timeline_.at(boundary).first.startFrame;
    auto& [madeEnd, madeStart, madeFrames, stereo, beside] = crossfade_;
    if (madeEnd == end && madeStart == start && madeFrames == frames)
        return true;
    const auto count = static_cast<std::size_t>(frames);
    madeFrames = -1;
    if (cache_.read(end - frames, stereo.data(), count) < count ||
        cache_.read(start - frames, beside.data(), count) < count)
        return false;
    crossfade(stereo.data(), beside.data(), count, 0, count,
              correlation(stereo.data(), beside.data(), 2 * count));
    madeEnd = end;
    madeStart = start;
    madeFrames = frames;
    return true;
}

} // namespace ambrel
