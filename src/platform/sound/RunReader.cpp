#include "platform/sound/RunReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "platform/sound/AudioFile.h"

namespace ambrel {

namespace {

/// More than half the converter's filter, in frames of the lower rate: what it must have heard
/// before a frame to give the same there as if it had heard everything.
constexpr std::int64_t filterFrames = 1024;

/// The file frame at which a converter can start anew so that its frames fall on the same places as
/// those of one that started with the run: only every so many file frames is a device frame.
std::int64_t startBefore(std::int64_t from, RatePair rates) {
    if (rates.equal())
        return from;
    const std::int64_t step = rates.fileHz / std::gcd(rates.fileHz, rates.deviceHz);
    const std::int64_t preroll =
        filterFrames * std::max(1, (rates.fileHz + rates.deviceHz - 1) / rates.deviceHz);
    return std::max<std::int64_t>(0, (rates.toFile(from) - preroll) / step * step);
}

} // namespace

std::int64_t RatePair::toDevice(std::int64_t fileFrame) const noexcept {
    if (equal() || fileFrame >= PassCourse::open)
        return fileFrame;
    return std::llround(static_cast<long double>(fileFrame) * deviceHz / fileHz);
}

std::int64_t RatePair::toFile(std::int64_t deviceFrame) const noexcept {
    return equal() ? deviceFrame
                   : static_cast<std::int64_t>(
                         std::floor(static_cast<long double>(deviceFrame) * fileHz / deviceHz));
}

RunReader::RunReader(std::shared_ptr<AudioFile> file, const PassCourse& course, RatePair rates,
                     std::int64_t from)
    : course_(course), rates_(rates), passes_(std::move(file), course, startBefore(from, rates)),
      resampler_(
          rates.fileHz, rates.deviceHz,
          [this](float* stereo, std::size_t frames) { return passes_.read(stereo, frames); }),
      position_(rates.toDevice(startBefore(from, rates))) {
    skipTo(from);
}

void RunReader::skipTo(std::int64_t from) {
    std::array<float, 512> unheard{};
    while (position_ < from && read(unheard.data(), static_cast<std::size_t>(std::min<std::int64_t>(
                                                        256, from - position_))) > 0) {
    }
}

std::size_t RunReader::read(float* stereo, std::size_t frames) {
    frames = static_cast<std::size_t>(
        std::clamp<std::int64_t>(end() - position_, 0, static_cast<std::int64_t>(frames)));
    std::size_t done = 0;
    while (done < frames) {
        const std::size_t got = resampler_.read(stereo + 2 * done, frames - done);
        if (got == 0)
            break;
        done += got;
    }
    // The converter may end a frame short of the run's exact length.
    std::fill(stereo + 2 * done, stereo + 2 * frames, 0.0F);
    position_ += static_cast<std::int64_t>(frames);
    return frames;
}

std::int64_t RunReader::changesFrom(std::int64_t boundary, RatePair rates) {
    const std::int64_t seam = PassReader::mostSeam(rates.fileHz);
    if (rates.equal())
        return std::max<std::int64_t>(0, boundary - seam);
    const std::int64_t filter =
        filterFrames * std::max(1, (rates.deviceHz + rates.fileHz - 1) / rates.fileHz);
    return std::max<std::int64_t>(0, rates.toDevice(boundary - seam) - filter);
}

} // namespace ambrel
