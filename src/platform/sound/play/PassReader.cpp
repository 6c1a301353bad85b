#include "platform/sound/play/PassReader.h"

#include <algorithm>
#include <utility>

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
    timeline_.begin(first, heard);
    beginReading();
    following_ = next;
    isEndSettled_ = false;
}

bool PassReader::beginNextRun() {
    settleEnd();
    if (!afterEnd_)
        return false;
    timeline_.begin(*afterEnd_, 0);
    beginReading();
    isEndSettled_ = false;
    return true;
}

void PassReader::beginReading() noexcept {
    next_ = searched_ = 0;
    searchedPass_ = -1;
    crossfade_.boundary = -1;
    attacks_.clear();
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
    crossfade_.boundary = -1;
    const std::int64_t changed = dropAttacks(std::max<std::int64_t>(
        0, wasSeamless || followsSeamlessly() ? boundary - longestCrossfade_ : boundary));
    if (next_ <= changed)
        return std::nullopt;
    next_ = changed;
    return changed;
}

/// From `from` on, and whole: returns the first frame that is read differently without them.
std::int64_t PassReader::dropAttacks(std::int64_t from) noexcept {
    while (!attacks_.empty() && attacks_.back().to() > from) {
        from = std::min(from, attacks_.back().from());
        attacks_.pop_back();
    }
    searched_ = std::min(searched_, from);
    searchedPass_ = from > 0 ? timeline_.at(from).boundaryAfter(from) : -1;
    return from;
}

std::size_t PassReader::read(float* sound, float* rest, std::size_t frames) {
    std::size_t done = 0;
    while (done < frames) {
        if (next_ >= timeline_.end() && !decide())
            break;
        const RunTimeline::Row& row = timeline_.at(next_);
        const std::int64_t boundary = row.boundaryAfter(next_);
        const std::int64_t length = crossfadeLength(boundary);
        const auto room = static_cast<std::int64_t>(frames - done);
        float* const outSound = sound + 2 * done;
        float* const outRest = rest + 2 * done;
        std::int64_t count = std::min(room, boundary - length - next_);
        if (count > 0) {
            const std::size_t got =
                cache_.read(row.fileFrameAt(next_), outSound, static_cast<std::size_t>(count));
            if (const auto end = next_ + static_cast<std::int64_t>(got); end > searched_) {
                findAttacks(boundary, std::max(next_, searched_), end, 0);
                searched_ = end;
            }
            std::copy_n(outSound, 2 * got, outRest);
            lift(boundary, next_, outRest, static_cast<std::int64_t>(got));
            next_ += static_cast<std::int64_t>(got);
            done += got;
            if (got < static_cast<std::size_t>(count))
                break;
            continue;
        }
        if (!makeCrossfade(boundary, length))
            break;
        count = std::min(room, boundary - next_);
        const std::int64_t from = next_ - (boundary - length);
        std::copy_n(crossfade_.sound.data() + 2 * from, 2 * count, outSound);
        std::copy_n(crossfade_.rest.data() + 2 * from, 2 * count, outRest);
        next_ += count;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

/// Notes the attacks that begin in these frames of the pass that ends at `boundary`, and at its
/// start also those that have begun before. `fadeIn`: length of the crossfade into the pass.
void PassReader::findAttacks(std::int64_t boundary, std::int64_t from, std::int64_t to,
                             std::int64_t fadeIn) {
    const Pass& pass = timeline_.at(boundary - 1).first;
    RunAttack found;
    found.shift = boundary - pass.frameCount - pass.startFrame;
    found.passBegin = std::max<std::int64_t>(0, boundary - pass.frameCount - fadeIn);
    found.passEnd = boundary;
    found.fadeIn = fadeIn;
    found.fadeOut = crossfadeLength(boundary);
    const bool isStart = std::exchange(searchedPass_, boundary) != boundary;
    // An attack may begin in the block before the one that it is found in, and end in the next.
    const std::int64_t reach = FileBlock::frameCount;
    cache_.visitAttacks(from - found.shift - reach, to - from + 2 * reach, [&](const auto& attack) {
        found.attack = attack;
        const std::int64_t begin = attack->begin + found.shift;
        if (begin >= to || (begin < from && !isStart) || found.to() <= from)
            return;
        attacks_.push_back(found);
        if (attacks_.size() > mostAttacks)
            attacks_.erase(attacks_.begin());
    });
}

/// Takes the attacks of the pass that ends at `boundary` out of frames of it.
void PassReader::lift(std::int64_t boundary, std::int64_t from, float* stereo,
                      std::int64_t frames) const noexcept {
    for (const RunAttack& lifted : attacks_) {
        if (lifted.passEnd != boundary)
            continue;
        const Attack& attack = *lifted.attack;
        const std::int64_t begin = std::max(lifted.from(), from);
        for (std::int64_t frame = begin; frame < std::min(lifted.to(), from + frames); ++frame)
            for (const std::int64_t channel : {0, 1})
                stereo[2 * (frame - from) + channel] -= attack.removed[static_cast<std::size_t>(
                    2 * (frame - lifted.shift - attack.begin) + channel)];
    }
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
    const Pass& after = timeline_.at(boundary).first;
    Crossfaded& made = crossfade_;
    if (made.boundary == boundary && made.start == after.startFrame && made.frames == frames)
        return true;
    const auto count = static_cast<std::size_t>(frames);
    made.boundary = -1;
    if (cache_.read(before.startFrame + before.frameCount - frames, made.sound.data(), count) <
            count ||
        cache_.read(after.startFrame - frames, beside_.data(), count) < count)
        return false;
    const std::int64_t begin = boundary - frames;
    if (searched_ < boundary) {
        findAttacks(boundary, std::max(begin, searched_), boundary, 0);
        findAttacks(boundary + after.frameCount, begin, boundary, frames);
        searched_ = boundary;
    }
    const double alike = correlation(made.sound.data(), beside_.data(), 2 * count);
    std::copy_n(made.sound.data(), 2 * count, made.rest.data());
    crossfade(made.sound.data(), beside_.data(), count, 0, count, alike);
    lift(boundary, begin, made.rest.data(), frames);
    lift(boundary + after.frameCount, begin, beside_.data(), frames);
    crossfade(made.rest.data(), beside_.data(), count, 0, count, alike);
    made.boundary = boundary;
    made.start = after.startFrame;
    made.frames = frames;
    return true;
}

} // namespace ambrel
