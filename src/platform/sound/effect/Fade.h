#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace ambrel {

/// The gain in the middle of step `step` (from 0) of a raised-cosine fade-in of `steps` steps.
inline double raisedCosine(std::size_t step, std::size_t steps) noexcept {
    return 0.5 - 0.5 * std::cos(std::numbers::pi * (double(step) + 0.5) /
                                double(std::max<std::size_t>(1, steps)));
}

/// The fade at the start and end of sound: 3 ms of a raised cosine, long enough not to click and
/// short enough to keep attacks.
class Fade {
  public:
    explicit Fade(int sampleRateHz) : gains_(framesAt(sampleRateHz)) {
        for (std::size_t i = 0; i < gains_.size(); ++i)
            gains_[i] = static_cast<float>(raisedCosine(i, gains_.size()));
    }

    static std::size_t framesAt(int sampleRateHz) noexcept {
        return std::max<std::size_t>(1, sampleRateHz * 3 / 1000);
    }
    std::size_t frames() const noexcept { return gains_.size(); }

    /// Gain at `step` frames into a fade-in: near 0 at step 0, exactly 1 from frames() on. A
    /// fade-out counts down.
    float gain(std::size_t step) const noexcept {
        return step < gains_.size() ? gains_[step] : 1.0F;
    }

    /// Fades stereo frames in, the first of them at `step`; returns the step after them, at most
    /// frames().
    std::size_t in(float* stereo, std::size_t frames, std::size_t step) const noexcept {
        for (; frames > 0 && step < gains_.size(); --frames, stereo += 2)
            scale(stereo, gains_[step++]);
        return step;
    }

    /// Fades stereo frames out, the first of them at the step before `step`; returns the last
    /// one's.
    std::size_t out(float* stereo, std::size_t frames, std::size_t step) const noexcept {
        for (; frames > 0 && step > 0; --frames, stereo += 2)
            scale(stereo, gain(--step));
        return step;
    }

    static void scale(float* frame, float gain) noexcept {
        frame[0] *= gain;
        frame[1] *= gain;
    }

  private:
    std::vector<float> gains_;
};

} // namespace ambrel
