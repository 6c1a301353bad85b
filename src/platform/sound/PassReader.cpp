#include "platform/sound/PassReader.h"

#include <algorithm>
#include <cmath>

#include "platform/sound/AudioFile.h"
#include "platform/sound/Crossfade.h"

namespace ambrel {

namespace {

constexpr float largestSample = 1000.0F;
/// A pass up to this length that repeats is kept: a seek for each would cost more than it.
constexpr std::int64_t longestKeptSeconds = 1;

void tame(float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        samples[i] =
            std::isfinite(samples[i]) ? std::clamp(samples[i], -largestSample, largestSample) : 0;
}

} // namespace

PassReader::PassReader(std::shared_ptr<AudioFile> file, const PassCourse& course, std::int64_t from)
    : file_(std::move(file)), course_(course), next_(from),
      mostSeam_(mostSeam(file_->sampleRate())) {}

std::size_t PassReader::read(float* stereo, std::size_t frames) {
    const std::int64_t end = next_ + static_cast<std::int64_t>(frames);
    const std::int64_t begin = next_;
    while (next_ < std::min(end, course_.end())) {
        const Passes& passes = course_.at(next_);
        const std::int64_t boundary = passes.boundaryAfter(next_);
        const Passes* after = course_.from(boundary);
        const std::int64_t seam = seamLength(passes, after);
        if (passes.count > 1)
            keep(passes);
        const std::int64_t fileBoundary = passes.startFrame + passes.frameCount;
        float* out = stereo + 2 * (next_ - begin);
        if (next_ < boundary - seam) {
            const std::int64_t count = std::min(end, boundary - seam) - next_;
            readAt(passes.startFrame + (next_ - passes.begin) % passes.frameCount, out, count);
            next_ += count;
            continue;
        }
        makeSeam(boundary, fileBoundary, after->startFrame, seam);
        const std::int64_t count = std::min(end, boundary) - next_;
        std::copy_n(seam_.stereo.data() + 2 * (next_ - (boundary - seam)), 2 * count, out);
        next_ += count;
    }
    return static_cast<std::size_t>(next_ - begin);
}

std::int64_t PassReader::seamLength(const Passes& before, const Passes* after) const noexcept {
    return after ? std::min({mostSeam_, before.frameCount / 2, after->frameCount / 2}) : 0;
}

void PassReader::makeSeam(std::int64_t boundary, std::int64_t lastFrame, std::int64_t nextStart,
                          std::int64_t frames) {
    if (seam_.boundary == boundary && seam_.from == nextStart &&
        static_cast<std::int64_t>(seam_.stereo.size()) == 2 * frames)
        return;
    seam_.boundary = boundary;
    seam_.from = nextStart;
    seam_.stereo.resize(static_cast<std::size_t>(2 * frames));
    beside_.resize(static_cast<std::size_t>(2 * frames));
    readAt(lastFrame - frames, seam_.stereo.data(), frames);
    readAt(nextStart - frames, beside_.data(), frames);
    Crossfade::mix(seam_.stereo.data(), beside_.data(), static_cast<std::size_t>(frames), 0,
                   static_cast<std::size_t>(frames),
                   Crossfade::likenessOf(seam_.stereo.data(), beside_.data(), beside_.size()));
}

void PassReader::keep(const Passes& passes) {
    const std::int64_t from = passes.startFrame - mostSeam_;
    const std::int64_t frames = mostSeam_ + passes.frameCount;
    if (passes.frameCount > longestKeptSeconds * file_->sampleRate() ||
        (keptFrom_ == from && static_cast<std::int64_t>(kept_.size()) == 2 * frames))
        return;
    kept_.resize(static_cast<std::size_t>(2 * frames));
    keptFrom_ = from;
    readFile(from, kept_.data(), frames);
}

void PassReader::readAt(std::int64_t fileFrame, float* stereo, std::int64_t frames) {
    const std::int64_t offset = fileFrame - keptFrom_;
    if (offset >= 0 && 2 * (offset + frames) <= static_cast<std::int64_t>(kept_.size()))
        std::copy_n(kept_.data() + 2 * offset, 2 * frames, stereo);
    else
        readFile(fileFrame, stereo, frames);
}

void PassReader::readFile(std::int64_t fileFrame, float* stereo, std::int64_t frames) {
    const std::int64_t last = fileFrame + frames;
    const std::int64_t begin = std::clamp<std::int64_t>(0, fileFrame, last);
    const std::int64_t end = std::clamp(file_->length(), begin, last);
    float* inside = stereo + 2 * (begin - fileFrame);
    float* behind = stereo + 2 * (end - fileFrame);
    std::fill(stereo, inside, 0.0F);
    readInside(begin, inside, static_cast<std::size_t>(end - begin));
    std::fill(behind, stereo + 2 * frames, 0.0F);
}

void PassReader::readInside(std::int64_t first, float* stereo, std::size_t frames) {
    if (frames == 0)
        return;
    std::size_t got = 0;
    if (file_->samplesPerFrame() == 2) {
        got = file_->read(first, std::span(stereo, 2 * frames));
    } else {
        mono_.resize(frames);
        got = file_->read(first, mono_);
        for (std::size_t i = 0; i < got; ++i)
            stereo[2 * i] = stereo[2 * i + 1] = mono_[i];
    }
    tame(stereo, 2 * got);
    std::fill(stereo + 2 * got, stereo + 2 * frames, 0.0F);
}

} // namespace ambrel
