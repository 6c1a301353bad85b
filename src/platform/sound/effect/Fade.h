#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace ambrel {

/// The fade at the start and end of sound: 3 ms of a raised cosine, long enough not to click and
/// short enough to keep attacks.
class Fade {
  public:
    explicit Fade(int sampleRateHz) {
        const std::size_t frames = std::max<std::size_t>(1, sampleRateHz * 3 / 1000);
        for (std::size_t i = 0; i < frames; ++i)
            gains_.push_back(static_cast<float>(
                0.5 - 0.5 * std::cos(std::numbers::pi * (double(i) + 0.5) / double(frames))));
    }

    std::size_t frames() const noexcept { return gains_.size(); }

    /// Gain at `step` frames into a fade-in: near 0 at step 0, exactly 1 from frames() on. A
    /// fade-out counts down.
    float gain(std::size_t step) const noexcept {
        return step < gains_.size() ? gains_[step] : 1.0F;
    }

  private:
    std::vector<float> gains_;
};

} // namespace ambrel
