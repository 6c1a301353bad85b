#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ambrel {

/// Takes stereo sound to a whole fraction of its rate, 14 to 16 kHz for the usual rates, and back.
/// Linear phase without delay; flat up to 44 % of the lower rate, and 80 dB down from 56 % on.
/// Allocates in the constructor only.
class Decimation {
  public:
    explicit Decimation(int sampleRateHz);

    /// Frames of the sound in a frame at the lower rate.
    static std::int64_t factorAt(int sampleRateHz) noexcept;
    std::int64_t factor() const noexcept { return factor_; }

    /// How many frames on either side a frame is made of: at the lower rate, and of the sound.
    static constexpr std::int64_t lowReach = 22;
    std::int64_t reach() const noexcept { return lowReach * factor_; }

    /// Makes `frames` frames at the lower rate. `sound` begins reach() frames before the first.
    void reduce(const float* sound, float* low, std::size_t frames) const noexcept;

    /// Makes factor() frames of the sound for each of `frames` frames. `low` begins lowReach frames
    /// before the first.
    void raise(const float* low, float* sound, std::size_t frames) const noexcept;

  private:
    std::int64_t factor_;
    // The weight of each sample of stereo frames.
    std::vector<float> reducing_;
    std::vector<std::vector<float>> raising_; ///< for each frame that is made of one
};

} // namespace ambrel
