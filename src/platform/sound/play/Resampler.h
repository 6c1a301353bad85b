#pragma once

#include <cstddef>

struct soxr;

namespace ambrel {

/// Converts stereo frames from one rate to another (libsoxr, very high quality, linear phase, no
/// delay: the first frame out lies where the first frame in lay). One thread at a time.
class Resampler {
  public:
    /// Rates in Hz, above 0 and unequal. Takes some 0.1 ms. Throws std::runtime_error for rates
    /// that cannot be converted and where memory has run out.
    Resampler(int fromHz, int toHz);
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    struct Step {
        std::size_t taken = 0; ///< frames in
        std::size_t made = 0;  ///< frames out
    };

    /// Converts as much of `in` as there is room for in `out`. Frames come out some 1,000 frames
    /// after those that they are made of went in.
    Step process(const float* in, std::size_t inFrames, float* out, std::size_t outFrames) noexcept;

  private:
    soxr* converter_;
};

} // namespace ambrel
