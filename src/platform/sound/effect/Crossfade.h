#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace ambrel {

/// Gains of a raised-cosine crossfade that keeps the level constant, whether the two sounds are
/// correlated or not.
struct Crossfade {
    double out = 1;
    double in = 0;

    /// Gains at `step` (from 0) of `steps`; `likeness` as from likenessOf().
    static Crossfade at(std::size_t step, std::size_t steps, double likeness) noexcept {
        const double in = 0.5 - 0.5 * std::cos(std::numbers::pi * (double(step) + 0.5) /
                                               double(std::max<std::size_t>(1, steps)));
        const double out = 1 - in;
        const double level = std::sqrt(in * in + out * out + 2 * likeness * in * out);
        return {out / level, in / level};
    }

    /// Correlation of two sounds of `samples` samples, 0 to 1: 1 if they differ only in level; 0 if
    /// they are uncorrelated, opposite in phase, or one is silent.
    static double likenessOf(const float* a, const float* b, std::size_t samples) noexcept {
        double aa = 0, bb = 0, ab = 0;
        for (std::size_t i = 0; i < samples; ++i) {
            aa += double(a[i]) * a[i];
            bb += double(b[i]) * b[i];
            ab += double(a[i]) * b[i];
        }
        return aa > 0 && bb > 0 ? std::clamp(ab / std::sqrt(aa * bb), 0.0, 1.0) : 0;
    }

    /// Crossfades `frames` frames of `stereo` into `other`, in place.
    static void mix(float* stereo, const float* other, std::size_t frames, std::size_t firstStep,
                    std::size_t steps, double likeness) noexcept {
        for (std::size_t i = 0; i < frames; ++i) {
            if (firstStep + i >= steps) {
                std::copy_n(other + 2 * i, 2 * (frames - i), stereo + 2 * i);
                return;
            }
            const Crossfade gains = at(firstStep + i, steps, likeness);
            for (const std::size_t at : {2 * i, 2 * i + 1})
                stereo[at] = static_cast<float>(gains.out * stereo[at] + gains.in * other[at]);
        }
    }
};

} // namespace ambrel
