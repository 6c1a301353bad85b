#include "platform/sound/play/RunSource.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ambrel {

namespace {

/// More than half the resampler's filter, in frames of the lower rate: input it needs before a
/// frame for the same output as if it had been fed everything.
constexpr std::int64_t filterFrames = 1024;

/// Frames of a region that must be cached before it may follow; the rest is read while it plays.
constexpr std::int64_t startFrames = 4096;

/// Read ahead at least: more than the resampler and the stretcher take before the first frame that
/// they give. Nothing would ask for the rest otherwise, where a second of the file is less.
constexpr std::int64_t leastAhead = 2 * startFrames;

/// Read ahead at most: of so many blocks next to each other each goes into another set of the
/// cache, so that all places that are read ahead find room.
constexpr std::int64_t mostAhead = 60 * FileBlock::frameCount;

} // namespace

RunSource::RunSource(FrameCache& cache, int deviceHz)
    : cache_(cache), passes_(cache), deviceHz_(deviceHz) {}

void RunSource::prepare(const PlayRequest& request) {
    cache_.begin(request.file, request.fileLength);
    isNew_ = false;
    if (request.file == 0)
        return;
    fileHz_ = request.fileHz;
    ratio_ = double(fileHz_) / deviceHz_;
    const Place& from = request.from;
    passes_.begin(fileHz_, from.pass, static_cast<std::int64_t>(from.fileFrame), request.next);
    pauseSeconds_ = from.pass.pauseSeconds;
    position_ = 0;
    startConverter(0);
}

void RunSource::readAhead(const ExpectedStart& start) noexcept {
    cache_.resume(start.file, start.fileLength);
    cache_.update();
    cache_.want(start.frame - startFrames, 2 * startFrames, true);
}

bool RunSource::isReady() const noexcept {
    return cache_.has(passes_.nextInFile(), std::min(passes_.leftInPass(), startFrames));
}

bool RunSource::beginNextRun() {
    const auto first = passes_.afterEnd();
    if (!passes_.beginNextRun())
        return false;
    pauseSeconds_ = first->pauseSeconds;
    position_ = 0;
    startConverter(0);
    return true;
}

/// Restarts the resampler so that its next output is frame `from` of the run. It can start only
/// where a file frame coincides with a device frame.
void RunSource::startConverter(std::int64_t from) {
    toSkip_ = 0;
    inputDone_ = inputCount_ = 0;
    converter_.reset();
    if (fileHz_ == deviceHz_)
        return;
    const std::int64_t step = fileHz_ / std::gcd(fileHz_, deviceHz_);
    const std::int64_t preroll = filterFrames * std::max(1, (fileHz_ + deviceHz_ - 1) / deviceHz_);
    const auto at = static_cast<std::int64_t>(std::floor(double(from) * ratio_));
    const std::int64_t start = std::max<std::int64_t>(0, (at - preroll) / step * step);
    passes_.goBackTo(start);
    converter_.emplace(fileHz_, deviceHz_);
    restConverter_.emplace(fileHz_, deviceHz_);
    toSkip_ = from - toDevice(start);
}

/// The nearest device frame.
std::int64_t RunSource::toDevice(std::int64_t fileFrame) const noexcept {
    if (fileHz_ == deviceHz_ || fileFrame >= FrameInput::endless)
        return fileFrame;
    return std::llround(static_cast<long double>(fileFrame) * deviceHz_ / fileHz_);
}

double RunSource::framesCut() const noexcept {
    const std::int64_t end = passes_.end();
    return double(end) / ratio_ - double(toDevice(end));
}

std::optional<std::int64_t> RunSource::update(double changeable, bool attacks) {
    cache_.update();
    wantAhead(attacks);
    if (!isNew_ || !hasStart(announced_))
        return std::nullopt;
    isNew_ = false;
    const auto changed = passes_.follow(announced_, changeable * ratio_);
    if (!changed)
        return std::nullopt;
    std::int64_t from = *changed;
    if (converter_) {
        const std::int64_t filter = filterFrames * std::max(1, (deviceHz_ + fileHz_ - 1) / fileHz_);
        from = std::max<std::int64_t>(0, toDevice(*changed) - filter);
    }
    from = std::min(from, position_);
    position_ = from;
    startConverter(from);
    return from;
}

/// A second, or leastAhead, of what is being read, and of whatever may come after it.
void RunSource::wantAhead(bool attacks) {
    want(passes_.nextInFile(), passes_.leftInPass(), attacks);
    const std::int64_t next = passes_.next() + passes_.leftInPass();
    if (next < passes_.timeline().end()) {
        const Pass& decided = passes_.timeline().at(next).first;
        want(decided.startFrame, decided.frameCount, attacks);
    }
    if (const auto after = passes_.afterEnd())
        want(after->startFrame, after->frameCount, attacks);
    for (const auto& announced : {passes_.following(), isNew_ ? announced_ : std::nullopt})
        if (announced)
            want(announced->startFrame, announced->frameCount, attacks);
}

/// And of what is faded into it.
void RunSource::want(std::int64_t first, std::int64_t frames, bool attacks) {
    const std::int64_t before = passes_.longestCrossfade();
    const std::int64_t ahead = std::clamp<std::int64_t>(fileHz_, leastAhead, mostAhead);
    cache_.want(first - before, before + std::min(frames, ahead), attacks);
}

bool RunSource::hasStart(const std::optional<Announcement>& next) const noexcept {
    const std::int64_t before = passes_.longestCrossfade();
    return !next ||
           cache_.has(next->startFrame - before, before + std::min(next->frameCount, startFrames));
}

std::size_t RunSource::read(float* sound, float* rest, std::size_t frames) noexcept {
    const std::int64_t end = toDevice(passes_.end());
    frames = static_cast<std::size_t>(
        std::clamp<std::int64_t>(end - position_, 0, static_cast<std::int64_t>(frames)));
    const std::size_t got =
        converter_ ? convert(sound, rest, frames) : passes_.read(sound, rest, frames);
    position_ += static_cast<std::int64_t>(got);
    return got;
}

std::size_t RunSource::convert(float* sound, float* rest, std::size_t frames) noexcept {
    std::array<float, 2 * inputFrames> skipped;
    std::size_t done = 0;
    while (done < frames) {
        const bool isSkipping = toSkip_ > 0;
        const std::size_t room =
            isSkipping ? std::min<std::size_t>(inputFrames, std::size_t(toSkip_)) : frames - done;
        const auto process = [&](Resampler& converter, const float* input, float* output) {
            return converter.process(input + 2 * inputDone_, inputCount_ - inputDone_,
                                     isSkipping ? skipped.data() : output + 2 * done, room);
        };
        const Resampler::Step step = process(*converter_, input_.data(), sound);
        process(*restConverter_, restInput_.data(), rest);
        inputDone_ += step.taken;
        if (isSkipping)
            toSkip_ -= static_cast<std::int64_t>(step.made);
        else
            done += step.made;
        if (step.made == 0 && inputDone_ == inputCount_ && !takeInput())
            break;
    }
    return done;
}

/// Fetches the next input, silence after the end of the run; false if frames are missing.
bool RunSource::takeInput() noexcept {
    inputDone_ = 0;
    inputCount_ = passes_.read(input_.data(), restInput_.data(), inputFrames);
    if (inputCount_ == 0 && passes_.next() >= passes_.end()) {
        input_.fill(0);
        restInput_.fill(0);
        inputCount_ = inputFrames;
    }
    return inputCount_ > 0;
}

} // namespace ambrel
