#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

struct AVTXContext;

namespace ambrel {

/// Short-time spectra: Hann windows, of about 11 ms if nothing else is said, that overlap by three
/// quarters, so that the inverse transforms, windowed again, add up to the sound itself.
///
/// One thread at a time. Allocates in the constructor only; throws std::bad_alloc.
class Spectrum {
  public:
    using Bin = std::complex<float>;

    explicit Spectrum(int sampleRateHz);
    /// `size` is a power of two.
    Spectrum(int sampleRateHz, std::size_t size);

    /// Frames in a window, a power of two, and from one window to the next.
    std::size_t size() const noexcept { return window_.size(); }
    std::size_t hop() const noexcept { return size() / 4; }
    std::size_t bins() const noexcept { return size() / 2 + 1; }

    /// The spectrum of size() frames.
    void forward(const float* frames, std::span<Bin> spectrum) noexcept;

    /// Adds the sound of a spectrum, which is overwritten, to size() frames.
    void addInverse(std::span<Bin> spectrum, float* frames) noexcept;

    /// First bins of bandCount bands that are about equally wide to the ear (Zwicker's critical
    /// bands), and behind them bins().
    static constexpr std::size_t bandCount = 24;
    std::span<const std::size_t> bandEdges() const noexcept { return bandEdges_; }

  private:
    struct Uninit {
        void operator()(AVTXContext* context) const noexcept;
    };
    using Context = std::unique_ptr<AVTXContext, Uninit>;
    using Transform = void (*)(AVTXContext*, void*, void*, std::ptrdiff_t);

    std::vector<float> window_, frames_;
    std::vector<std::size_t> bandEdges_;
    Context forwardContext_, inverseContext_;
    Transform forward_ = nullptr, inverse_ = nullptr;
};

} // namespace ambrel
