#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "platform/sound/effect/Fade.h"

namespace ambrel {

/// Gains of a raised-cosine crossfade that keeps the level constant, whether the two sounds are
/// correlated or not.
struct Crossfade {
    double out = 1;
    double in = 0;

    /// Gains at `step` (from 0) of `steps`. Opposite sounds (`correlation` below 0) are faded as
    /// uncorrelated ones.
    static Crossfade at(std::size_t step, std::size_t steps, double correlation) noexcept {
        const double in = raisedCosine(step, steps);
        const double out = 1 - in;
        const double level =
            std::sqrt(in * in + out * out + 2 * std::clamp(correlation, 0.0, 1.0) * in * out);
        return {out / level, in / level};
    }

    /// Crossfades `frames` frames of `stereo` into `other`, in place.
    static void mix(float* stereo, const float* other, std::size_t frames, std::size_t firstStep,
                    std::size_t steps, double correlation) noexcept {
        for (std::size_t i = 0; i < frames; ++i) {
            if (firstStep + i >= steps) {
                std::copy_n(other + 2 * i, 2 * (frames - i), stereo + 2 * i);
                return;
            }
            const Crossfade gains = at(firstStep + i, steps, correlation);
            for (const std::size_t at : {2 * i, 2 * i + 1})
                stereo[at] = static_cast<float>(gains.out * stereo[at] + gains.in * other[at]);
        }
    }
};

} // namespace ambrel
