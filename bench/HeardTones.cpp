#include "HeardTones.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "LoopedTones.h"
#include "support/SoundMeasures.h"

namespace ambrel::test {

namespace {

constexpr double pi = std::numbers::pi;

/// Further off than this, a window counts as a gap.
constexpr double largestLevelDb = 1;

double bend(double hz, double amplitude, int rateHz) {
    return amplitude * std::pow(2 * pi * hz / rateHz, 2);
}

/// Radians, brought into −π to π.
double wrapped(double radians) {
    return std::remainder(radians, 2 * pi);
}

} // namespace

HeardTones::HeardTones(const Recording& recording)
    : recording_(recording),
      // One channel is the mean of both sides, of which the right is half as loud.
      amplitude_(LoopedTones::amplitude * (recording.right.empty() ? 0.75 : 1)),
      window_(std::size_t(recording.sampleRateHz) / 50),
      // A sink keeps 16 bits: every sample may be off by a step, and a second difference by four.
      largestBend_(1.3 * (bend(LoopedTones::lowHz, amplitude_, recording.sampleRateHz) +
                          bend(LoopedTones::highHz, amplitude_, recording.sampleRateHz)) +
                   4.0 / 32768) {}

HeardWindow HeardTones::at(std::size_t from) const {
    const std::span<const float> left = recording_.left;
    const auto part = [&](double hz) {
        return partAt(left, from, window_, 2 * pi * hz / recording_.sampleRateHz);
    };
    const std::complex<double> low = part(LoopedTones::lowHz);
    const std::complex<double> high = part(LoopedTones::highHz);
    const auto levelDb = [&](const std::complex<double>& tone) {
        return 20 * std::log10(std::abs(tone) * 4 / double(window_) / amplitude_ + 1e-9);
    };
    HeardWindow heard;
    heard.levelDb = std::min(levelDb(low), levelDb(high));
    heard.excessDb = std::max(levelDb(low), levelDb(high));
    heard.lowPhase = std::arg(low);
    // Both phases are those at frame 0 of the recording, from where it is `from` on; sines begin a
    // quarter of a period behind cosines.
    const double ahead = (std::arg(high) - 2 * std::arg(low)) / (2 * pi) - 0.25 +
                         double(from) / recording_.sampleRateHz;
    heard.placeSeconds = ahead - std::floor(ahead);
    heard.isBent = largestBend(left.subspan(from, window_)) > largestBend_;
    return heard;
}

bool HeardTones::isSounding(std::size_t from) const {
    return at(from).levelDb > -3;
}

HeardTones::Findings HeardTones::examine(std::size_t from) const {
    Findings found;
    const std::size_t hopsInATenth = 10;
    std::vector<HeardWindow> windows;
    for (std::size_t at = from; at + window_ <= recording_.left.size(); at += hopFrames())
        windows.push_back(this->at(at));
    std::vector<double> cents;
    std::size_t cleanHops = 0;
    std::optional<double> firstPlace;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const HeardWindow& window = windows[i];
        const double offDb = std::max(-window.levelDb, window.excessDb);
        const bool isGlitch = window.isBent || offDb > largestLevelDb;
        found.glitches += isGlitch && (cleanHops > 0 || i == 0) ? 1 : 0;
        cleanHops = isGlitch ? 0 : cleanHops + 1;
        if (isGlitch)
            continue;
        found.levelDb = std::max(found.levelDb, offDb);
        const double place =
            window.placeSeconds - double(i * hopFrames()) / recording_.sampleRateHz;
        firstPlace = firstPlace.value_or(place);
        found.slipSeconds =
            std::max(found.slipSeconds, std::abs(std::remainder(place - *firstPlace, 1.0)));
        if (cleanHops <= hopsInATenth)
            continue;
        const double radians = wrapped(window.lowPhase - windows[i - hopsInATenth].lowPhase);
        const double hz =
            radians / (2 * pi) * recording_.sampleRateHz / double(hopsInATenth * hopFrames());
        cents.push_back(std::abs(centsBetween(LoopedTones::lowHz + hz, LoopedTones::lowHz)));
    }
    if (!cents.empty()) {
        std::ranges::nth_element(cents, cents.begin() + std::ptrdiff_t(cents.size() / 2));
        found.cents = cents[cents.size() / 2];
    }
    found.levelDb = std::max(found.levelDb, std::abs(sideDb(from)));
    return found;
}

/// How much louder than half the left side the right one is.
double HeardTones::sideDb(std::size_t from) const {
    if (recording_.right.empty() || from >= recording_.left.size())
        return 0;
    const double left = rms(std::span(recording_.left).subspan(from));
    const double right = rms(std::span(recording_.right).subspan(from));
    return 20 * std::log10(2 * right / std::max(left, 1e-9) + 1e-9);
}

} // namespace ambrel::test
