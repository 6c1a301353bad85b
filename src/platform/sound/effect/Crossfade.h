#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "platform/sound/effect/Fade.h"

namespace ambrel {

/// Crossfades `frames` stereo frames of `stereo` into `other`, in place, from `step` (0 at first)
/// of `steps` on. The gains are raised cosines that keep the level constant, however much the
/// sounds are alike; those of opposite phase (`correlation` below 0) count as unrelated.
inline void crossfade(float* stereo, const float* other, std::size_t frames, std::size_t step,
                      std::size_t steps, double correlation) noexcept {
    const double alike = std::clamp(correlation, 0.0, 1.0);
    for (std::size_t i = 0; i < frames; ++i, stereo += 2, other += 2) {
        if (step + i >= steps) {
            std::copy_n(other, 2 * (frames - i), stereo);
            return;
        }
        const double in = raisedCosine(step + i, steps);
        const double out = 1 - in;
        const double level = std::sqrt(in * in + out * out + 2 * alike * in * out);
        for (const int channel : {0, 1})
            stereo[channel] =
                static_cast<float>(out / level * stereo[channel] + in / level * other[channel]);
    }
}

} // namespace ambrel
