#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "platform/sound/attack/AttackFinder.h"
#include "platform/sound/effect/Fade.h"

namespace ambrel {

/// An attack that has been lifted out of a pass. Frames are the run's, at the file's rate.
struct RunAttack {
    std::shared_ptr<const Attack> attack;
    std::int64_t shift = 0;     ///< what is file frame f is frame f + shift of the run
    std::int64_t passBegin = 0; ///< with the crossfade into the pass
    std::int64_t passEnd = 0;
    std::int64_t fadeIn = 0; ///< lengths of the pass's crossfades
    std::int64_t fadeOut = 0;

    std::int64_t onset() const noexcept { return attack->onset + shift; }

    /// The frames of it that the pass plays.
    std::int64_t from() const noexcept { return std::max(attack->begin + shift, passBegin); }
    std::int64_t to() const noexcept { return std::min(attack->end() + shift, passEnd); }

    /// Its level in the pass's crossfades.
    float gain(std::int64_t frame) const noexcept {
        const std::int64_t in = frame - passBegin, out = passEnd - frame;
        float gain = 1;
        if (in < fadeIn)
            gain *= static_cast<float>(raisedCosine(std::size_t(in), std::size_t(fadeIn)));
        if (out < fadeOut)
            gain *= static_cast<float>(raisedCosine(std::size_t(out), std::size_t(fadeOut)));
        return gain;
    }
};

} // namespace ambrel
