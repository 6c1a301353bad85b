#pragma once

#include <span>

namespace ambrel::bench {

/// The frequency of a few periods of a tone, from its zero crossings; 0 with less than one.
inline double hzFromZeroCrossings(std::span<const float> mono, int sampleRateHz) {
    double first = -1, last = -1;
    int periods = -1;
    for (std::size_t i = 1; i < mono.size(); ++i) {
        if (mono[i - 1] >= 0 || mono[i] < 0)
            continue;
        last = double(i) - double(mono[i]) / (double(mono[i]) - mono[i - 1]);
        first = periods < 0 ? last : first;
        ++periods;
    }
    return periods > 0 ? periods * sampleRateHz / (last - first) : 0;
}

} // namespace ambrel::bench
