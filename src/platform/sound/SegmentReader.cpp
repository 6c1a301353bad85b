#include "platform/sound/SegmentReader.h"

#include <algorithm>
#include <cmath>

#include "platform/sound/AudioFile.h"

namespace ambrel {

namespace {

constexpr float largestSample = 1000.0F;

void tame(float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        samples[i] =
            std::isfinite(samples[i]) ? std::clamp(samples[i], -largestSample, largestSample) : 0;
}

} // namespace

SegmentReader::SegmentReader(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                             std::int64_t frameCount, int outputRateHz)
    : file_(std::move(file)), next_(startFrame), end_(startFrame + frameCount),
      frames_(outputRateHz == file_->sampleRate()
                  ? frameCount
                  : std::llround(static_cast<long double>(frameCount) * outputRateHz /
                                 file_->sampleRate())),
      resampler_(file_->sampleRate(), outputRateHz,
                 [this](float* stereo, std::size_t frames) { return readFile(stereo, frames); }) {}

std::size_t SegmentReader::read(float* stereo, std::size_t frames) {
    frames = static_cast<std::size_t>(std::min(static_cast<std::int64_t>(frames), frames_ - read_));
    std::size_t done = 0;
    while (done < frames) {
        const std::size_t got = resampler_.read(stereo + 2 * done, frames - done);
        if (got == 0)
            break;
        done += got;
    }
    // The converter may end a frame short of the segment's exact length.
    std::fill(stereo + 2 * done, stereo + 2 * frames, 0.0F);
    read_ += static_cast<std::int64_t>(frames);
    return frames;
}

std::size_t SegmentReader::readFile(float* stereo, std::size_t frames) {
    frames = static_cast<std::size_t>(std::min(static_cast<std::int64_t>(frames), end_ - next_));
    const std::int64_t last = next_ + static_cast<std::int64_t>(frames);
    const std::int64_t begin = std::clamp<std::int64_t>(0, next_, last);
    const std::int64_t end = std::clamp(file_->length(), begin, last);
    float* inside = stereo + 2 * (begin - next_);
    float* behind = stereo + 2 * (end - next_);
    std::fill(stereo, inside, 0.0F);
    readInside(inside, begin, static_cast<std::size_t>(end - begin));
    std::fill(behind, stereo + 2 * frames, 0.0F);
    next_ = last;
    return frames;
}

void SegmentReader::readInside(float* stereo, std::int64_t first, std::size_t frames) {
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
