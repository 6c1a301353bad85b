#include "platform/sound/stretch/MiddleBand.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ambrel {

namespace {

constexpr std::size_t windowFrames = 1024;
/// From this rate on the stretcher is pure by itself.
constexpr double slowBelow = 1;
/// Taken for each frame that is gathered.
constexpr std::int64_t gatherEvery = 4;
constexpr double settleSeconds = 0.4;
constexpr double lateSeconds = 0.01;
/// So much later than the other stretcher's output is this one's, in seconds of input less seconds
/// of output, by bursts of 1 kHz.
constexpr double inputLateSeconds = 0.0017, outputEarlySeconds = 0.0012;
/// In frames at the lower rate: what this one's output may lag, and how far ahead it is made.
constexpr std::int64_t mostMiddleLag = 128, mostMiddleAhead = 256;
/// Feeds of the second stretcher for each of the first, which is fed as many frames, at most.
constexpr int mostFeeds = 2;
constexpr double fadeStep = 1.0 / 6;                    ///< for each window
constexpr double highestHz = 6400, highestPart = 0.435; ///< of a border; of the lower rate
/// A border stays where the power is less than this times the least, or, so that it does not jump
/// over a partial, this part of the greatest.
constexpr float keptTimesLeast = 2, keptPartOfGreatest = 0.001F;

/// Turned from one to the other: a sum would vanish on the way where they are of opposite phase.
Spectrum::Bin between(Spectrum::Bin from, Spectrum::Bin to, float part) {
    const float turn = std::arg(to * std::conj(from));
    return std::polar(std::lerp(std::abs(from), std::abs(to), part), std::arg(from) + part * turn);
}

int lowRateAt(int sampleRateHz) {
    return sampleRateHz / static_cast<int>(Decimation::factorAt(sampleRateHz));
}

} // namespace

MiddleBand::Stretchers::Stretchers(int sampleRateHz, const std::stop_token& stop)
    : normal(lowRateAt(sampleRateHz), stop, Stretcher::Windows::Short, Stretcher::Pitch::Normal),
      transposing(lowRateAt(sampleRateHz), stop, Stretcher::Windows::Short) {}

MiddleBand::MiddleBand(RunInput& input, Stretchers& stretchers, int sampleRateHz)
    : input_(input), decimation_(sampleRateHz), lowRateHz_(lowRateAt(sampleRateHz)),
      lateFrames_(static_cast<std::size_t>(lateSeconds * sampleRateHz)),
      settleFrames_(std::llround(settleSeconds * sampleRateHz)), stretchers_(stretchers),
      spectrum_(lowRateHz_, windowFrames),
      whole_(static_cast<std::size_t>(decimation_.factor()) * 2 * windowFrames),
      middle_(4 * windowFrames), reduced_(2 * windowFrames),
      correction_(static_cast<std::size_t>(decimation_.factor()) * windowFrames),
      lowCorrection_(2 * (2 * Decimation::lowReach + spectrum_.hop())), power_(spectrum_.bins()),
      mono_(windowFrames),
      stereo_(2 * static_cast<std::size_t>(decimation_.factor()) * windowFrames +
              4 * static_cast<std::size_t>(decimation_.reach())) {
    for (const std::size_t channel : {0, 1}) {
        sums_[channel].resize(windowFrames);
        ownBins_[channel].resize(spectrum_.bins());
        otherBins_[channel].resize(spectrum_.bins());
    }
}

void MiddleBand::begin(std::int64_t first, double rate, double cents, bool atOnce) noexcept {
    whole_.restart(first);
    next_ = first;
    change(rate, cents);
    if (atOnce)
        steady_ = settleFrames_;
}

void MiddleBand::change(double rate, double cents) noexcept {
    rate_ = rate;
    cents_ = cents;
    steady_ = 0;
    isRunning_ = false;
    isCorrecting_ = false;
}

std::size_t MiddleBand::fullLookAhead() const noexcept {
    return static_cast<std::size_t>(decimation_.factor() *
                                        (size() + Decimation::lowReach + mostMiddleLag) +
                                    decimation_.reach());
}

std::size_t MiddleBand::lookAhead() const noexcept {
    const std::int64_t gathered = (steady_ - settleFrames_) / gatherEvery;
    return rate_ < slowBelow && gathered > 0
               ? std::min(static_cast<std::size_t>(gathered), fullLookAhead())
               : 0;
}

void MiddleBand::follow(const TimeMap& map, std::int64_t mapped, std::int64_t fed) {
    if (lookAhead() == 0)
        return;
    if (!isRunning_)
        start(map, mapped);
    const std::int64_t step =
        static_cast<std::int64_t>(Stretcher::feedFrames) * decimation_.factor();
    for (int i = 0; i < mostFeeds && fed_ + step + decimation_.reach() <= fed &&
                    middle_.end() < whole_.end() / decimation_.factor() + mostMiddleAhead;
         ++i)
        feed(map);
}

void MiddleBand::start(const TimeMap& map, std::int64_t mapped) {
    const std::int64_t factor = decimation_.factor();
    isRunning_ = true;
    stretcher_ = cents_ == 0 ? &stretchers_.normal : &stretchers_.transposing;
    stretcher_->reset(rate_, cents_);
    startDelay_ = static_cast<double>(stretcher_->startDelay());
    const double lateSeconds = inputLateSeconds / rate_ - outputEarlySeconds;
    stretcher_->discard(std::llround(startDelay_ + lateSeconds * lowRateHz_));
    fed_ = mapped - static_cast<std::int64_t>(stretcher_->pad()) * factor;
    begun_ = map.outputAt(static_cast<double>(mapped)) / static_cast<double>(factor);
    middleFirst_ = std::llround(begun_);
    middle_.restart(middleFirst_);
}

void MiddleBand::feed(const TimeMap& map) {
    const std::int64_t factor = decimation_.factor();
    const auto step = static_cast<std::int64_t>(Stretcher::feedFrames) * factor;
    std::array<float, 2 * Stretcher::feedFrames> low;
    input_.copyRest(fed_ - decimation_.reach(), stereo_.data(),
                    static_cast<std::size_t>(step + 2 * decimation_.reach()));
    decimation_.reduce(stereo_.data(), low.data(), Stretcher::feedFrames);
    stretcher_->feed(low.data());
    fed_ += step;
    const auto centre =
        static_cast<double>(fed_ - static_cast<std::int64_t>(stretcher_->pad()) * factor);
    const double due = map.outputAt(centre) / static_cast<double>(factor) - begun_;
    if (due > 0)
        stretcher_->correct(startDelay_ + due - stretcher_->committed());
    std::array<float, 128> made;
    while (const std::size_t frames = stretcher_->take(made.data(), made.size() / 2))
        middle_.add(made.data(), frames);
}

void MiddleBand::take(float* stereo, std::size_t frames) noexcept {
    const std::int64_t end = next_ + static_cast<std::int64_t>(frames);
    if (isRunning_ && lookAhead() == fullLookAhead())
        correctTo(end);
    for (; next_ < end; ++next_, stereo += 2) {
        whole_.copy(next_, stereo);
        if (!isCorrecting_)
            continue;
        float correction[2];
        correction_.copy(next_, correction);
        stereo[0] += correction[0];
        stereo[1] += correction[1];
    }
    steady_ += static_cast<std::int64_t>(frames);
}

/// Makes the corrections of all frames up to output frame `end`.
void MiddleBand::correctTo(std::int64_t end) noexcept {
    const std::int64_t last = end / decimation_.factor() + Decimation::lowReach;
    if (!isCorrecting_) {
        isCorrecting_ = true;
        window_ = (last / hop() + 1) * hop();
        mix_ = 0;
        reduced_.restart(window_);
        correction_.restart((window_ - Decimation::lowReach) * decimation_.factor());
        std::ranges::fill(lowCorrection_, 0.0F);
        for (std::vector<float>& sum : sums_)
            std::ranges::fill(sum, 0.0F);
        std::ranges::fill(power_, 0.0F);
        low_.bin = high_.bin = 0;
    }
    while (window_ <= last)
        correctWindow();
}

void MiddleBand::correctWindow() noexcept {
    reduceTo(window_ + size());
    const bool isThere = middleFirst_ <= window_ && middle_.end() >= window_ + size();
    mix_ = isThere ? std::min(1.0, mix_ + fadeStep) : 0;
    if (isThere) {
        analyse();
        place(low_);
        place(high_);
        const auto part = static_cast<float>(mix_);
        for (const std::size_t channel : {0, 1}) {
            Bins& bins = ownBins_[channel];
            for (std::size_t bin = 0; bin < bins.size(); ++bin) {
                const Spectrum::Bin own = bins[bin], other = otherBins_[channel][bin];
                const Spectrum::Bin mixed = mix_ < 1 ? between(own, other, part) : other;
                const bool isInside = bin >= low_.bin && bin <= high_.bin;
                const bool isBorder = bin == low_.bin || bin == high_.bin;
                bins[bin] = (isBorder ? 0.5F : isInside ? 1.0F : 0.0F) * (mixed - own);
            }
            spectrum_.addInverse(bins, sums_[channel].data());
        }
    }
    // The frames that have all their windows follow those before them that the filter needs.
    std::shift_left(lowCorrection_.begin(), lowCorrection_.end(), 2 * hop());
    float* finished = lowCorrection_.data() + lowCorrection_.size() - 2 * spectrum_.hop();
    for (std::size_t i = 0; i < spectrum_.hop(); ++i)
        for (const std::size_t channel : {0, 1})
            finished[2 * i + channel] = sums_[channel][i];
    for (std::vector<float>& sum : sums_) {
        std::shift_left(sum.begin(), sum.end(), hop());
        std::fill(sum.end() - hop(), sum.end(), 0.0F);
    }
    decimation_.raise(lowCorrection_.data(), stereo_.data(), spectrum_.hop());
    correction_.add(stereo_.data(), spectrum_.hop() * std::size_t(decimation_.factor()));
    window_ += hop();
}

void MiddleBand::reduceTo(std::int64_t end) noexcept {
    const std::int64_t missing = end - reduced_.end();
    if (missing <= 0)
        return;
    const std::int64_t first = reduced_.end() * decimation_.factor() - decimation_.reach();
    const std::int64_t frames = missing * decimation_.factor() + 2 * decimation_.reach();
    for (std::int64_t i = 0; i < frames; ++i)
        whole_.copy(first + i, stereo_.data() + 2 * i);
    float low[2];
    for (std::int64_t i = 0; i < missing; ++i) {
        decimation_.reduce(stereo_.data() + 2 * i * decimation_.factor(), low, 1);
        reduced_.add(low, 1);
    }
}

void MiddleBand::analyse() noexcept {
    for (float& power : power_)
        power /= 2;
    for (const std::size_t channel : {0, 1}) {
        const auto analyseOne = [&](const FrameHistory& history, Bins& bins) {
            for (std::int64_t i = 0; i < size(); ++i) {
                float stereo[2];
                history.copy(window_ + i, stereo);
                mono_[static_cast<std::size_t>(i)] = stereo[channel];
            }
            spectrum_.forward(mono_.data(), bins);
            for (std::size_t bin = 0; bin < bins.size(); ++bin)
                power_[bin] += std::norm(bins[bin]);
        };
        analyseOne(reduced_, ownBins_[channel]);
        analyseOne(middle_, otherBins_[channel]);
    }
}

/// Into the deepest gap, if that is deeper than where it is.
void MiddleBand::place(Border& border) const noexcept {
    const double pitch = std::exp2(cents_ / 1200);
    const double highest = std::min(highestHz, highestPart * lowRateHz_);
    const auto binAt = [&](double hz) {
        return static_cast<std::size_t>(
            std::lround(std::min(hz * pitch, highest) * static_cast<double>(size()) / lowRateHz_));
    };
    const auto smoothed = [&](std::size_t bin) {
        return power_[bin - 1] / 2 + power_[bin] + power_[bin + 1] / 2;
    };
    const std::size_t from = binAt(border.fromHz), to = std::max(from + 1, binAt(border.toHz));
    std::size_t least = from, greatest = from;
    for (std::size_t bin = from; bin < to; ++bin) {
        if (smoothed(bin) < smoothed(least))
            least = bin;
        if (smoothed(bin) > smoothed(greatest))
            greatest = bin;
    }
    if (border.bin == 0 ||
        smoothed(border.bin) >=
            std::max(keptTimesLeast * smoothed(least), keptPartOfGreatest * smoothed(greatest)))
        border.bin = least;
}

} // namespace ambrel
