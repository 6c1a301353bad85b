#pragma once

#include <cstddef>

struct soxr;

namespace ambrel {

/// Converts stereo frames from one sample rate to another (libsoxr, very high quality, linear
/// phase, delay removed). Render thread only.
class Resampler {
  public:
    /// Rates in Hz, above 0 and unequal. Takes some 0.1 ms. Throws std::runtime_error for rates
    /// that cannot be converted and where memory has run out.
    Resampler(int fromHz, int toHz);
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    struct Step {
        std::size_t taken = 0; ///< input frames
        std::size_t made = 0;  ///< output frames
    };

    /// Converts as much of `in` as fits into `out`. Output lags the input by some 1,000 frames.
    Step process(const float* in, std::size_t inFrames, float* out, std::size_t outFrames) noexcept;

  private:
    soxr* converter_;
};

} // namespace ambrel
