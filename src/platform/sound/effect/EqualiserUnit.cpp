#include "platform/sound/effect/EqualiserUnit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ambrel {

namespace {

constexpr int rampMs = 20;
constexpr double mostGainDb = 40;
constexpr double leastBandwidth = 0.05;
constexpr double mostBandwidth = 8;
constexpr double leastHz = 5;
/// As a fraction of the sample rate; a higher band is inaudible at that rate.
constexpr double highestCentre = 0.49;
/// Smaller filter states are slow denormal numbers.
constexpr double silence = 1e-30;

} // namespace

EqualiserUnit::EqualiserUnit(int sampleRateHz)
    : sampleRateHz_(sampleRateHz), rampFrames_(std::max(1, sampleRateHz * rampMs / 1000)) {}

EqualiserUnit::Coefficients EqualiserUnit::design(const Band& band) const noexcept {
    const double centre = band.frequencyHz;
    const double gain =
        std::isfinite(band.gainDb) ? std::clamp<double>(band.gainDb, -mostGainDb, mostGainDb) : 0.0;
    if (gain == 0 || !std::isfinite(centre) || !std::isfinite(band.bandwidthOctaves) ||
        centre > highestCentre * sampleRateHz_)
        return {};
    const double width = std::clamp<double>(band.bandwidthOctaves, leastBandwidth, mostBandwidth);
    const double w = 2 * std::numbers::pi * std::max(centre, leastHz) / sampleRateHz_;
    const double a = std::pow(10, gain / 40);
    const double alpha = std::sin(w) * std::sinh(std::numbers::ln2 / 2 * width * w / std::sin(w));
    const double a0 = 1 + alpha / a;
    return {(1 + alpha * a) / a0, -2 * std::cos(w) / a0, (1 - alpha * a) / a0,
            -2 * std::cos(w) / a0, (1 - alpha / a) / a0};
}

void EqualiserUnit::set(const Bands& bands, bool bypass) noexcept {
    bypass_ = bypass;
    if (bands == bands_)
        return;
    bands_ = bands;
    for (std::size_t i = 0; i < filters_.size(); ++i)
        filters_[i].towards(design(bands[i]), rampFrames_);
    glideLeft_ = rampFrames_;
}

void EqualiserUnit::reset() noexcept {
    for (Filter& filter : filters_)
        filter.now = filter.target;
    glideLeft_ = 0;
    wetFrames_ = bypass_ ? 0 : rampFrames_;
    clearState();
}

void EqualiserUnit::clearState() noexcept {
    for (Filter& filter : filters_)
        filter.state = {};
}

// Any mixture of two stable sets of coefficients is stable, so they may be interpolated linearly.
void EqualiserUnit::Filter::towards(const Coefficients& to, int steps) noexcept {
    target = to;
    step = {(to.b0 - now.b0) / steps, (to.b1 - now.b1) / steps, (to.b2 - now.b2) / steps,
            (to.a1 - now.a1) / steps, (to.a2 - now.a2) / steps};
}

void EqualiserUnit::Filter::glide(int stepsLeft) noexcept {
    if (stepsLeft == 1) {
        now = target;
        return;
    }
    now.b0 += step.b0;
    now.b1 += step.b1;
    now.b2 += step.b2;
    now.a1 += step.a1;
    now.a2 += step.a2;
}

double EqualiserUnit::Filter::process(std::size_t channel, double in) noexcept {
    auto& [first, second] = state[channel];
    const double out = now.b0 * in + first;
    first = now.b1 * in - now.a1 * out + second;
    second = now.b2 * in - now.a2 * out;
    return out;
}

void EqualiserUnit::process(float* stereo, std::size_t frames) noexcept {
    for (std::size_t i = 0; i < frames; ++i) {
        if (glideLeft_ > 0) {
            for (Filter& filter : filters_)
                filter.glide(glideLeft_);
            --glideLeft_;
        }
        if (bypass_ && wetFrames_ == 0) {
            if (glideLeft_ == 0)
                break;
            continue;
        }
        wetFrames_ = std::clamp(wetFrames_ + (bypass_ ? -1 : 1), 0, rampFrames_);
        const double wet = static_cast<double>(wetFrames_) / rampFrames_;
        for (std::size_t channel = 0; channel < 2; ++channel) {
            float& sample = stereo[2 * i + channel];
            double filtered = sample;
            for (Filter& filter : filters_)
                filtered = filter.process(channel, filtered);
            sample = static_cast<float>(sample + wet * (filtered - sample));
        }
        if (wetFrames_ == 0)
            clearState();
    }
    for (Filter& filter : filters_)
        for (auto& channel : filter.state)
            for (double& state : channel)
                if (std::abs(state) < silence)
                    state = 0;
}

} // namespace ambrel
