#pragma once

#include <cmath>
#include <cstddef>

namespace ambrel {

/// Normalised correlation of two signals of `samples` samples, −1 to 1: 1 if they differ only in
/// level; 0 if they are unrelated or one is silent. Compares every `stride`th sample.
inline double correlation(const float* a, const float* b, std::size_t samples,
                          std::size_t stride = 1) noexcept {
    double aa = 0, bb = 0, ab = 0;
    for (std::size_t i = 0; i < samples; i += stride) {
        aa += double(a[i]) * a[i];
        bb += double(b[i]) * b[i];
        ab += double(a[i]) * b[i];
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
}

} // namespace ambrel
