#include "platform/sound/play/RunSource.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <numeric>
#include <utility>

namespace ambrel {

namespace {

/// More than half the resampler's filter, in frames of the lower rate: input it needs before a
/// frame for the same output as if it had been fed everything.
constexpr std::int64_t filterFrames = 1024;

/// Frames of a region that must be cached before it may follow; the rest is read while it plays.
constexpr std::int64_t startFrames = 4096;

} // namespace

RunSource::RunSource(FrameCache& cache, int deviceHz)
    : cache_(cache), passes_(cache), deviceHz_(deviceHz) {}

void RunSource::prepare(const PlayRequest& request) {
    request_ = request;
    cache_.begin(request.file, request.fileLength);
    isNew_ = false;
    ratio_ = double(request.fileHz) / deviceHz_;
    if (request.fileHz == deviceHz_) {
        converter_.reset();
        converterHz_ = deviceHz_;
    } else if (converterHz_ != request.fileHz) {
        converterHz_ = request.fileHz;
        try {
            converter_.emplace(request.fileHz, deviceHz_);
        } catch (const std::exception&) {
            // The rate cannot be converted: end the segment at once.
            converterHz_ = 0;
            converter_.reset();
            request_.first.frameCount = 0;
            request_.next.reset();
        }
    }
    passes_.begin(request_.fileHz, request_.first, static_cast<std::int64_t>(request_.heardFrames),
                  request_.next);
}

bool RunSource::isReady() const noexcept {
    const std::int64_t left = passes_.leftInPass();
    return cache_.has(passes_.nextInFile(), std::min(left, startFrames));
}

void RunSource::begin() {
    passes_.begin(request_.fileHz, request_.first, static_cast<std::int64_t>(request_.heardFrames),
                  request_.next);
    pauseSeconds_ = request_.pauseSeconds;
    position_ = 0;
    startConverter(0);
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
    if (!converter_)
        return;
    const std::int64_t fileHz = request_.fileHz;
    const std::int64_t step = fileHz / std::gcd(fileHz, std::int64_t{deviceHz_});
    const std::int64_t preroll =
        filterFrames * std::max<std::int64_t>(1, (fileHz + deviceHz_ - 1) / deviceHz_);
    const auto at = static_cast<std::int64_t>(std::floor(double(from) * ratio_));
    const std::int64_t start = std::max<std::int64_t>(0, (at - preroll) / step * step);
    passes_.goBackTo(start);
    converter_->begin();
    toSkip_ = from - toDevice(start);
}

/// The nearest device frame.
std::int64_t RunSource::toDevice(std::int64_t fileFrame) const noexcept {
    if (request_.fileHz == deviceHz_ || fileFrame >= FrameInput::endless)
        return fileFrame;
    return std::llround(static_cast<long double>(fileFrame) * deviceHz_ / request_.fileHz);
}

double RunSource::framesCut() const noexcept {
    const std::int64_t end = passes_.end();
    return double(end) / ratio_ - double(toDevice(end));
}

std::optional<std::int64_t> RunSource::update(double changeable) {
    cache_.update();
    if (std::exchange(decidedEnd_, passes_.timeline().end()) != passes_.timeline().end())
        cache_.forgetBroken(); // new pass: the file may be intact again
    wantAhead();
    if (!isNew_ || !hasStart(announced_))
        return std::nullopt;
    isNew_ = false;
    request_.next = announced_;
    const auto changed = passes_.follow(announced_, changeable * ratio_);
    if (!changed)
        return std::nullopt;
    std::int64_t from = *changed;
    if (converter_) {
        const std::int64_t filter =
            filterFrames *
            std::max<std::int64_t>(1, (deviceHz_ + request_.fileHz - 1) / request_.fileHz);
        from = std::max<std::int64_t>(0, toDevice(*changed) - filter);
    }
    from = std::min(from, position_);
    position_ = from;
    startConverter(from);
    return from;
}

/// Wants a second of what is being read, and of what may follow.
void RunSource::wantAhead() {
    const std::int64_t second = request_.fileHz;
    cache_.want(passes_.nextInFile(), std::min(passes_.leftInPass(), second));
    if (const auto after = passes_.afterEnd())
        wantStart(after->startFrame, after->frameCount);
    wantStart(passes_.following());
    if (isNew_)
        wantStart(announced_);
}

void RunSource::wantStart(std::int64_t startFrame, std::int64_t frameCount) {
    const std::int64_t before = passes_.longestCrossfade();
    cache_.want(startFrame - before, before + std::min<std::int64_t>(frameCount, request_.fileHz));
}

void RunSource::wantStart(const std::optional<Announcement>& next) {
    if (next)
        wantStart(next->startFrame, next->frameCount);
}

bool RunSource::hasStart(const std::optional<Announcement>& next) const noexcept {
    const std::int64_t before = passes_.longestCrossfade();
    return !next ||
           cache_.has(next->startFrame - before, before + std::min(next->frameCount, startFrames));
}

std::size_t RunSource::read(float* stereo, std::size_t frames) noexcept {
    const std::int64_t end = toDevice(passes_.end());
    frames = static_cast<std::size_t>(
        std::clamp<std::int64_t>(end - position_, 0, static_cast<std::int64_t>(frames)));
    const std::size_t got = converter_ ? convert(stereo, frames) : passes_.read(stereo, frames);
    position_ += static_cast<std::int64_t>(got);
    return got;
}

std::size_t RunSource::convert(float* stereo, std::size_t frames) noexcept {
    std::array<float, 2 * inputFrames> skipped{};
    std::size_t done = 0;
    while (done < frames) {
        const bool isSkipping = toSkip_ > 0;
        float* out = isSkipping ? skipped.data() : stereo + 2 * done;
        const std::size_t room =
            isSkipping ? std::min<std::size_t>(inputFrames, std::size_t(toSkip_)) : frames - done;
        const Resampler::Step step = converter_->process(input_.data() + 2 * inputDone_,
                                                         inputCount_ - inputDone_, out, room);
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
    inputCount_ = passes_.read(input_.data(), inputFrames);
    if (inputCount_ == 0 && passes_.next() >= passes_.end()) {
        input_.fill(0);
        inputCount_ = inputFrames;
    }
    return inputCount_ > 0;
}

} // namespace ambrel
