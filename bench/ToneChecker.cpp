#include "ToneChecker.h"

#include <algorithm>
#include <cmath>

namespace ambrel::bench {

namespace {

/// The loudest and highest tone of a torture, through the equaliser, bends half as much at 44,100
/// Hz.
constexpr double mostBend = 0.01;
/// A pulled graph has no frames in store for a fade: there the last sample dies away, and the curve
/// has a corner as steep as the tone.
constexpr double mostCorner = 0.08;
/// Half of what the equaliser at its least leaves of a tone.
constexpr double leastLevel = 0.04;
constexpr int fadeMs = 3;
constexpr int settledMs = 60;

} // namespace

ToneChecker::ToneChecker(int sampleRateHz)
    : fade_(sampleRateHz * fadeMs / 1000 + 2), settled_(sampleRateHz * settledMs / 1000),
      window_(std::size_t(sampleRateHz / 50)) {}

std::string ToneChecker::check(float sample, const Expectation& expected) {
    const double bend = std::abs(double(sample) - 2 * before_[1] + before_[0]);
    before_[0] = before_[1];
    before_[1] = sample;
    float& oldest = window_[windowAt_];
    energy_ += double(sample) * sample - double(oldest) * oldest;
    oldest = sample;
    windowAt_ = (windowAt_ + 1) % window_.size();
    const bool isFading = ++sinceFade_ <= fade_;
    if (!std::isfinite(sample))
        return "no number";
    if (!expected.isPlaying && !isFading && sample != 0)
        return "sound where nothing plays";
    if (expected.isSmooth && bend > (isFading ? mostCorner : mostBend))
        return "a bend of " + std::to_string(bend);
    return expected.isSteady && sinceFade_ > settled_ ? checkLevel(sample) : std::string();
}

std::string ToneChecker::checkLevel(float sample) {
    silentFor_ = sample == 0 ? silentFor_ + 1 : 0;
    if (silentFor_ > fade_ / fadeMs)
        return "a gap";
    const double level = std::sqrt(std::max(0.0, energy_) / double(window_.size()));
    return level < leastLevel ? "a level of only " + std::to_string(level) : std::string();
}

} // namespace ambrel::bench
