#include "platform/sound/stretch/StepRestorer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ambrel {

namespace {

/// The stretcher's smear on either side of an attack, in output milliseconds: at normal speed, and
/// for each further output frame of an input frame.
constexpr double smearMs = 12, smearPerStretchMs = 46;
constexpr double edge = 0.3; ///< of it, over which the change fades
constexpr float riseFromDb = 4, riseToDb = 9;
constexpr float mostCutDb = -40, mostBoostDb = 9; ///< before and after the attack
constexpr int smoothedHops = 2;                   ///< on either side of a hop of stretched sound
constexpr std::size_t keptWindows = 32;

float decibels(float powerRatio) {
    return 10 * std::log10(powerRatio);
}

} // namespace

StepRestorer::StepRestorer(RunInput& input, int sampleRateHz)
    : input_(input), sampleRateHz_(sampleRateHz), spectrum_(sampleRateHz),
      size_(std::int64_t(spectrum_.size())), hop_(std::int64_t(spectrum_.hop())),
      stretched_(keptWindows * spectrum_.size()), corrections_(2 * keptWindows * spectrum_.size()),
      stereo_(2 * spectrum_.size()), mono_(spectrum_.size()), bins_(spectrum_.bins()),
      powers_(spectrum_.bins() + 1) {}

void StepRestorer::begin(std::int64_t first) noexcept {
    stretched_.restart(first);
    next_ = first;
    nextHop_ = 0;
    std::ranges::fill(corrections_, 0.0F);
    stretchedHops_.fill({});
    restHops_.fill({});
}

/// In output frames.
double StepRestorer::zone(double rate) const noexcept {
    return (smearMs + (1 / rate - 1) * smearPerStretchMs) / 1000 * sampleRateHz_;
}

bool StepRestorer::isNear(std::int64_t from, std::int64_t to,
                          const Stretch& stretch) const noexcept {
    if (stretch.rate >= 1)
        return false;
    const double reach = zone(stretch.rate) + double(size_);
    return std::ranges::any_of(input_.attacks(), [&](const RunAttack& attack) {
        const double onset = stretch.map.outputAt(double(attack.onset()) / input_.attackFrames());
        return onset - reach < double(to) && onset + reach > double(from);
    });
}

std::size_t StepRestorer::lookAhead(std::size_t frames, const Stretch& stretch) const noexcept {
    const auto ahead = size_ + smoothedHops * hop_;
    return isNear(next_, next_ + std::int64_t(frames), stretch) ? std::size_t(ahead) : 0;
}

void StepRestorer::take(float* stereo, std::size_t frames, const Stretch& stretch) noexcept {
    const std::int64_t end = next_ + std::int64_t(frames);
    const std::int64_t hops = (end + size_ / 2 + hop_ - 1) / hop_;
    if (isNear(next_, end, stretch)) {
        // From the first that lies in what has not been taken.
        nextHop_ = std::max(nextHop_, (next_ + size_ / 2 + hop_ - 1) / hop_);
        for (; nextHop_ < hops; ++nextHop_)
            restore(nextHop_, stretch);
    } else {
        nextHop_ = std::max(nextHop_, hops);
    }
    for (; next_ < end; ++next_, stereo += 2) {
        stretched_.copy(next_, stereo);
        float* const correction =
            corrections_.data() + 2 * (std::size_t(next_) % (corrections_.size() / 2));
        for (const int channel : {0, 1})
            stereo[channel] += std::exchange(correction[channel], 0.0F);
    }
}

void StepRestorer::restore(std::int64_t hop, const Stretch& stretch) noexcept {
    Bands gains;
    if (!gainsAt(hop, stretch, gains))
        return;
    const std::int64_t begin = hop * hop_ - size_ / 2;
    for (std::int64_t i = 0; i < size_; ++i)
        stretched_.copy(begin + i, stereo_.data() + 2 * i);
    for (const std::size_t channel : {0, 1}) {
        for (std::size_t i = 0; i < mono_.size(); ++i)
            mono_[i] = stereo_[2 * i + channel];
        spectrum_.forward(mono_.data(), bins_);
        for (std::size_t band = 0; band < gains.size(); ++band)
            for (std::size_t i = spectrum_.bandEdges()[band]; i < spectrum_.bandEdges()[band + 1];
                 ++i)
                bins_[i] *= gains[band] - 1;
        std::ranges::fill(mono_, 0.0F);
        spectrum_.addInverse(bins_, mono_.data());
        for (std::size_t i = 0; i < mono_.size(); ++i)
            corrections_[2 * ((std::size_t(begin) + i) % (corrections_.size() / 2)) + channel] +=
                mono_[i];
    }
}

bool StepRestorer::findNearest(double output, const Stretch& stretch,
                               Nearest& nearest) const noexcept {
    constexpr double far = 1e15;
    const auto attacks = input_.attacks();
    const auto inputOf = [&](std::size_t i) {
        return double(attacks[i].onset()) / input_.attackFrames();
    };
    double least = far;
    for (std::size_t i = 0; i < attacks.size(); ++i) {
        const double distance = stretch.map.outputAt(inputOf(i)) - output;
        if (std::abs(distance) >= least)
            continue;
        least = std::abs(distance);
        nearest = {distance, inputOf(i), i > 0 ? inputOf(i - 1) : -far,
                   i + 1 < attacks.size() ? inputOf(i + 1) : far};
    }
    return least < zone(stretch.rate);
}

/// Factors of the amplitudes; false if all are 1.
bool StepRestorer::gainsAt(std::int64_t hop, const Stretch& stretch, Bands& gains) noexcept {
    Nearest near;
    const double output = double(hop * hop_);
    if (!findNearest(output, stretch, near))
        return false;
    const auto half = size_ / hop_ / 2;
    const auto hopOf = [this](double frame) {
        return std::int64_t(std::floor(frame / double(hop_)));
    };
    // Hops of the rest that lie wholly before and wholly after the attack.
    const std::int64_t lastBefore = hopOf(near.onset) - half - 1;
    const std::int64_t firstAfter = hopOf(near.onset) + half;
    const bool isBefore = near.distance > 0;
    const std::int64_t here = std::llround(stretch.map.inputAt(output) / double(hop_));
    const std::int64_t from = std::min(hopOf(near.previous) + half, lastBefore);
    const std::int64_t to = std::max(hopOf(near.next) - half - 1, firstAfter);
    const std::int64_t source =
        isBefore ? std::clamp(here, from, lastBefore) : std::clamp(here, firstAfter, to);
    const Bands wanted = meanRest(source, isBefore ? -1 : 1, 3, stretch.pitch);
    const Bands before = meanRest(lastBefore, -1, 4, stretch.pitch);
    const Bands after = meanRest(firstAfter, 1, 4, stretch.pitch);
    const Bands now = stretchedEnergies(hop);

    const double width = zone(stretch.rate);
    const auto fade =
        float(std::clamp((width - std::abs(near.distance)) / (edge * width), 0.0, 1.0));
    const float quiet = 1e-9F * float(size_) + 1e-7F * std::ranges::max(after);
    bool isAny = false;
    for (std::size_t band = 0; band < gains.size(); ++band) {
        const float rise = decibels((after[band] + quiet) / (before[band] + quiet));
        const float part =
            fade * std::clamp((rise - riseFromDb) / (riseToDb - riseFromDb), 0.0F, 1.0F);
        const float off = decibels((wanted[band] + quiet) / (now[band] + quiet));
        const float gain =
            isBefore ? std::clamp(off, mostCutDb, 0.0F) : std::clamp(off, 0.0F, mostBoostDb);
        gains[band] = std::pow(10.0F, part * gain / 20);
        isAny = isAny || gains[band] != 1;
    }
    return isAny;
}

StepRestorer::Bands StepRestorer::stretchedEnergies(std::int64_t hop) noexcept {
    Bands mean{};
    for (std::int64_t number = hop - smoothedHops; number <= hop + smoothedHops; ++number) {
        Hop& known = stretchedHops_[std::size_t(number + 16) % stretchedHops_.size()];
        if (known.number != number) {
            for (std::int64_t i = 0; i < size_; ++i) {
                const std::int64_t frame = number * hop_ - size_ / 2 + i;
                stretched_.copy(std::max<std::int64_t>(0, frame), stereo_.data() + 2 * i);
            }
            known = {number, energiesOf(stereo_.data(), 1)};
        }
        for (std::size_t band = 0; band < mean.size(); ++band)
            mean[band] += known.energies[band] / (2 * smoothedHops + 1);
    }
    return mean;
}

/// Of hops of the rest, from `hop` on in either direction.
StepRestorer::Bands StepRestorer::meanRest(std::int64_t hop, int step, int count,
                                           double pitch) noexcept {
    Bands mean{};
    for (int i = 0; i < count; ++i) {
        const Bands energies = restEnergies(hop + step * i, pitch);
        for (std::size_t band = 0; band < mean.size(); ++band)
            mean[band] += energies[band] / float(count);
    }
    return mean;
}

StepRestorer::Bands StepRestorer::restEnergies(std::int64_t hop, double pitch) noexcept {
    if (pitch != restPitch_)
        restHops_.fill({});
    restPitch_ = pitch;
    const std::int64_t place = ((hop % 256) + 256) % 256;
    Hop& known = restHops_[std::size_t(place)];
    if (known.number == hop && hop >= 0)
        return known.energies;
    input_.copyRest(hop * hop_ - size_ / 2, stereo_.data(), std::size_t(size_));
    known = {hop, energiesOf(stereo_.data(), pitch)};
    return known.energies;
}

/// In the bands that will be the usual ones at this pitch.
StepRestorer::Bands StepRestorer::energiesOf(const float* stereo, double pitch) noexcept {
    std::ranges::fill(powers_, 0.0F);
    for (const std::size_t channel : {0, 1}) {
        for (std::size_t i = 0; i < mono_.size(); ++i)
            mono_[i] = stereo[2 * i + channel];
        spectrum_.forward(mono_.data(), bins_);
        for (std::size_t i = 0; i < bins_.size(); ++i)
            powers_[i + 1] += std::norm(bins_[i]);
    }
    for (std::size_t i = 1; i < powers_.size(); ++i)
        powers_[i] += powers_[i - 1];
    const auto sourceOf = [&](std::size_t bin) {
        return std::min<std::int64_t>(std::llround(double(bin) / pitch),
                                      std::int64_t(bins_.size()));
    };
    Bands energies;
    for (std::size_t band = 0; band < energies.size(); ++band) {
        const std::int64_t to =
            std::max<std::int64_t>(1, sourceOf(spectrum_.bandEdges()[band + 1]));
        const std::int64_t from = std::min(sourceOf(spectrum_.bandEdges()[band]), to - 1);
        energies[band] = powers_[std::size_t(to)] - powers_[std::size_t(from)];
    }
    return energies;
}

} // namespace ambrel
