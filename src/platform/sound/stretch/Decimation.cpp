#include "platform/sound/stretch/Decimation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace ambrel {

namespace {

constexpr double lowRateHz = 15'000;
constexpr double kaiserBeta = 7.86; ///< 80 dB

/// The sum of stereo frames, weighted. Eight sums side by side, which a processor adds at once.
void sum(const std::vector<float>& weights, const float* stereo, float* frame) noexcept {
    std::array<float, 8> sums{};
    const std::size_t whole = weights.size() / sums.size() * sums.size();
    for (std::size_t i = 0; i < whole; i += sums.size())
        for (std::size_t lane = 0; lane < sums.size(); ++lane)
            sums[lane] += weights[i + lane] * stereo[i + lane];
    for (std::size_t i = whole; i < weights.size(); ++i)
        sums[i % 2] += weights[i] * stereo[i];
    frame[0] = sums[0] + sums[2] + sums[4] + sums[6];
    frame[1] = sums[1] + sums[3] + sums[5] + sums[7];
}

} // namespace

std::int64_t Decimation::factorAt(int sampleRateHz) noexcept {
    return std::max<std::int64_t>(1, std::llround(sampleRateHz / lowRateHz));
}

Decimation::Decimation(int sampleRateHz)
    : factor_(factorAt(sampleRateHz)), raising_(static_cast<std::size_t>(factor_)) {
    double sum = 0;
    std::vector<double> filter;
    for (std::int64_t i = -reach(); i <= reach(); ++i) {
        const double at = std::numbers::pi * double(i) / double(factor_);
        const double edge = double(i) / double(reach());
        const double window =
            std::cyl_bessel_i(0, kaiserBeta * std::sqrt(std::max(0.0, 1 - edge * edge)));
        filter.push_back((i == 0 ? 1 : std::sin(at) / at) * window);
        sum += filter.back();
    }
    for (const double weight : filter)
        reducing_.insert(reducing_.end(), 2, float(weight / sum));
    for (std::int64_t phase = 0; phase < factor_; ++phase) {
        for (std::int64_t low = -lowReach; low <= lowReach; ++low) {
            const std::int64_t place = phase - low * factor_ + reach();
            const double weight = place <= 2 * reach() ? filter[std::size_t(place)] / sum : 0;
            raising_[std::size_t(phase)].insert(raising_[std::size_t(phase)].end(), 2,
                                                float(double(factor_) * weight));
        }
    }
}

void Decimation::reduce(const float* sound, float* low, std::size_t frames) const noexcept {
    for (std::size_t frame = 0; frame < frames; ++frame, sound += 2 * factor_, low += 2)
        sum(reducing_, sound, low);
}

void Decimation::raise(const float* low, float* sound, std::size_t frames) const noexcept {
    for (std::size_t frame = 0; frame < frames; ++frame, low += 2)
        for (const std::vector<float>& weights : raising_) {
            sum(weights, low, sound);
            sound += 2;
        }
}

} // namespace ambrel
