#include "platform/sound/attack/Spectrum.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
#include <numbers>

extern "C" {
#include <libavutil/tx.h>
}

namespace ambrel {

namespace {

/// The windows of an overlap by three quarters, analysis and synthesis, add up to this.
constexpr float overlapGain = 1.5F;

/// Zwicker's critical-band rate, in Bark.
double bark(double hz) {
    return 13 * std::atan(0.00076 * hz) + 3.5 * std::atan((hz / 7500) * (hz / 7500));
}

} // namespace

void Spectrum::Uninit::operator()(AVTXContext* context) const noexcept {
    av_tx_uninit(&context);
}

Spectrum::Spectrum(int sampleRateHz)
    : Spectrum(sampleRateHz,
               std::bit_ceil(std::size_t(std::clamp(sampleRateHz, 8000, 192'000)) * 512 / 48'000)) {
}

Spectrum::Spectrum(int sampleRateHz, std::size_t size) : window_(size), frames_(size) {
    for (std::size_t i = 0; i < size; ++i)
        window_[i] = 0.5F - 0.5F * std::cos(2 * std::numbers::pi_v<float> * float(i) / float(size));
    const auto begin = [size](int inverse, float scale, Transform& transform) {
        AVTXContext* context = nullptr;
        av_tx_fn function = nullptr;
        if (av_tx_init(&context, &function, AV_TX_FLOAT_RDFT, inverse, int(size), &scale,
                       AV_TX_UNALIGNED) < 0)
            throw std::bad_alloc();
        transform = function;
        return Context(context);
    };
    forwardContext_ = begin(0, 1, forward_);
    inverseContext_ = begin(1, 1 / (overlapGain * float(size)), inverse_);

    const double binHz = double(sampleRateHz) / double(size);
    const double whole = bark(binHz * double(bins() - 1));
    bandEdges_.push_back(0);
    for (std::size_t bin = 0, band = 1; band < bandCount; ++band) {
        while (bark(binHz * double(bin)) < whole * double(band) / bandCount)
            ++bin;
        bandEdges_.push_back(std::max(bin, bandEdges_.back() + 1));
    }
    bandEdges_.push_back(bins());
}

void Spectrum::forward(const float* frames, std::span<Bin> spectrum) noexcept {
    for (std::size_t i = 0; i < size(); ++i)
        frames_[i] = frames[i] * window_[i];
    forward_(forwardContext_.get(), spectrum.data(), frames_.data(), sizeof(float));
}

void Spectrum::addInverse(std::span<Bin> spectrum, float* frames) noexcept {
    inverse_(inverseContext_.get(), frames_.data(), spectrum.data(), sizeof(Bin));
    for (std::size_t i = 0; i < size(); ++i)
        frames[i] += frames_[i] * window_[i];
}

} // namespace ambrel
