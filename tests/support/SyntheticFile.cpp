#include "support/SyntheticFile.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>

namespace ambrel::test {

std::shared_ptr<SyntheticFile> SyntheticFile::numbered(int sampleRateHz, std::int64_t length) {
    return std::make_shared<SyntheticFile>(sampleRateHz, length, [](std::int64_t frame) {
        const auto scrambled = static_cast<std::uint32_t>(frame + 1) * 2654435761U;
        const float value = static_cast<float>(scrambled >> 8) / 16777216.0F - 0.5F;
        return std::pair(value, 0.25F - value * 0.5F);
    });
}

std::shared_ptr<SyntheticFile> SyntheticFile::sine(int sampleRateHz, std::int64_t length, double hz,
                                                   double amplitude) {
    return std::make_shared<SyntheticFile>(sampleRateHz, length, [=](std::int64_t frame) {
        const double phase = std::fmod(hz * double(frame) / sampleRateHz, 1.0);
        const auto value = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * phase));
        return std::pair(value, value);
    });
}

std::pair<float, float> SyntheticFile::at(std::int64_t frame) const {
    return frame >= 0 && frame < std::min(length_, brokenFrom) ? formula_(frame)
                                                               : std::pair(0.0F, 0.0F);
}

std::size_t SyntheticFile::read(std::int64_t first, std::span<float> out) noexcept {
    readsBack += first < readTo_;
    readTo_ = first + std::int64_t(out.size() / 2);
    const std::int64_t there = std::min(length_, brokenFrom) - first;
    const auto count =
        std::size_t(std::clamp<std::int64_t>(there, 0, std::int64_t(out.size() / 2)));
    for (std::size_t i = 0; i < count; ++i)
        std::tie(out[2 * i], out[2 * i + 1]) = formula_(first + std::int64_t(i));
    return count;
}

} // namespace ambrel::test
