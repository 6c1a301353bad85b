#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace ambrel::test {

/// One channel (0 or 1) of interleaved stereo.
std::vector<float> channelOf(std::span<const float> stereo, std::size_t channel);

/// The part of `count` samples from `from` on at one frequency, Hann-weighted: a steady tone of
/// that frequency has the same one wherever it is looked at, of `count` ÷ 4 times its amplitude.
std::complex<double> partAt(std::span<const float> mono, std::size_t from, std::size_t count,
                            double radiansPerSample);

struct Tone {
    double hz = 0;
    double amplitude = 0;
    double toResidualDb = 0; ///< energy of the tone over everything else
};

/// The steady tone near `nearHz`: its frequency from the advance of its phase, its strength from a
/// least-squares fit over all samples.
Tone measureTone(std::span<const float> mono, int sampleRateHz, double nearHz);

/// Distance of two frequencies in cents.
double centsBetween(double hz, double referenceHz);

/// The largest second difference. A click stands far out.
double largestBend(std::span<const float> mono);

double rms(std::span<const float> mono);

/// The quietest and the loudest 20 ms, in dB beside the middle.
struct LevelRange {
    double quietestDb = 0;
    double loudestDb = 0;
};
LevelRange levelRange(std::span<const float> mono, int sampleRateHz);

} // namespace ambrel::test
