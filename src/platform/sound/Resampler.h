#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <vector>

struct soxr;

namespace ambrel {

/// Converts stereo frames from one rate to another (libsoxr, very high quality, linear phase, no
/// delay: the first frame out lies where the first frame in lay). Equal rates pass untouched.
///
/// Belongs to one thread, which may block in the source.
class Resampler {
  public:
    /// Fills frames and returns how many; fewer than asked for only at the end.
    using Source = std::function<std::size_t(float* stereo, std::size_t frames)>;

    /// Rates in Hz, above 0. Throws std::runtime_error for rates that cannot be converted.
    Resampler(int fromHz, int toHz, Source source);
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    /// Fills `frames` frames and returns how many; fewer than asked for only at the end. Throws
    /// what the source throws; no more can be read then.
    std::size_t read(float* stereo, std::size_t frames);

  private:
    static std::size_t pull(void* self, const void** data, std::size_t frames);

    Source source_;
    soxr* converter_ = nullptr; ///< none when the rates are equal
    std::vector<float> input_;
    std::exception_ptr thrown_; ///< by the source
};

} // namespace ambrel
