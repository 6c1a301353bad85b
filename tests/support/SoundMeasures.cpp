#include "support/SoundMeasures.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace ambrel::test {

std::complex<double> partAt(std::span<const float> mono, std::size_t from, std::size_t count,
                            double radiansPerSample) {
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double weight =
            0.5 - 0.5 * std::cos(2 * std::numbers::pi * double(i) / double(count));
        sum += weight * mono[from + i] *
               std::polar(1.0, -radiansPerSample * static_cast<double>(from + i));
    }
    return sum;
}

std::vector<float> channelOf(std::span<const float> stereo, std::size_t channel) {
    std::vector<float> mono(stereo.size() / 2);
    for (std::size_t i = 0; i < mono.size(); ++i)
        mono[i] = stereo[2 * i + channel];
    return mono;
}

Tone measureTone(std::span<const float> mono, int sampleRateHz, double nearHz) {
    Tone tone;
    double w = 2 * std::numbers::pi * nearHz / sampleRateHz;
    const std::size_t window = mono.size() / 4;
    // The phase of the first part against the last, in steps that grow with what is known.
    for (const std::size_t distance : {window / 16, window / 2, mono.size() - window}) {
        const auto first = partAt(mono, 0, window, w);
        const auto last = partAt(mono, distance, window, w);
        w += std::arg(last / first) / static_cast<double>(distance);
    }
    tone.hz = w * sampleRateHz / (2 * std::numbers::pi);
    // Least squares on a sine and a cosine.
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0, yy = 0;
    for (std::size_t i = 0; i < mono.size(); ++i) {
        const double s = std::sin(w * double(i)), c = std::cos(w * double(i)), y = mono[i];
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += y * s;
        yc += y * c;
        yy += y * y;
    }
    const double det = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / det, b = (yc * ss - ys * sc) / det;
    tone.amplitude = std::hypot(a, b);
    const double fitted = a * ys + b * yc;
    tone.toResidualDb = 10 * std::log10(fitted / std::max(1e-30, yy - fitted));
    return tone;
}

double centsBetween(double hz, double referenceHz) {
    return 1200 * std::log2(hz / referenceHz);
}

double largestBend(std::span<const float> mono) {
    double largest = 0;
    for (std::size_t i = 2; i < mono.size(); ++i)
        largest = std::max(largest, std::abs(double(mono[i]) - 2.0 * mono[i - 1] + mono[i - 2]));
    return largest;
}

double rms(std::span<const float> mono) {
    double sum = 0;
    for (const float sample : mono)
        sum += double(sample) * sample;
    return mono.empty() ? 0 : std::sqrt(sum / double(mono.size()));
}

LevelRange levelRange(std::span<const float> mono, int sampleRateHz) {
    const auto window = static_cast<std::size_t>(sampleRateHz / 50);
    std::vector<double> levels;
    for (std::size_t i = 0; i + window <= mono.size(); i += window / 4)
        levels.push_back(20 * std::log10(rms(mono.subspan(i, window)) + 1e-9));
    std::ranges::sort(levels);
    const double middle = levels[levels.size() / 2];
    return {levels.front() - middle, levels.back() - middle};
}

} // namespace ambrel::test
