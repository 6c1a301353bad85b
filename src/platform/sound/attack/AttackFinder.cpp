#include "platform/sound/attack/AttackFinder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace ambrel {

namespace {

// Finding. Times in milliseconds.
constexpr double pastFrom = 46, pastTo = 12; ///< over which a level counts as there before
constexpr double riseFromDb = 3, riseToDb = 9;
constexpr double leastRise = 1.5; ///< sum over the bands of their rises, each from 0 to 1
constexpr std::int64_t peakHops = 6;
constexpr double apart = 20;
constexpr double floorDb = -50; ///< of what counts, against the running loudness
constexpr double loudAhead = 50, loudBehind = 500;
constexpr double loudFallDbPerMs = 0.024;
/// At the ends of a file there is too little to compare with.
constexpr double fromStart = 25, toEnd = 10;

// Lifting.
constexpr double maskFromDb = 4, maskToDb = 9;
constexpr float aboveRest = 1.2F; ///< in amplitude: how far above it something has to stand
/// Below this, a period is as long as what is lifted out: only what is over by its end can be.
constexpr double lowHz = 200, lowFallFromDb = 7, lowFallToDb = 15;
constexpr double mostOff = 12; ///< by which the onset may differ from where it was found
constexpr double fadeIn = 1.5, whole = 14, fadeOut = 14;
constexpr double fadeInEnd = 1; ///< before the onset
constexpr double energyWindow = 1;
constexpr double onsetEnergy = 0.15; ///< of the greatest: where the attack sets in
constexpr double onsetDelay = 0.5;

double decibels(double powerRatio) {
    return 10 * std::log10(powerRatio);
}

double ramp(double value, double from, double to) {
    return std::clamp((value - from) / (to - from), 0.0, 1.0);
}

float raisedCosine(double part) {
    return static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * std::clamp(part, 0.0, 1.0)));
}

/// Means over `width` neighbours, fewer at the ends.
std::vector<float> smoothed(const std::vector<float>& values, int width) {
    std::vector<float> means(values.size());
    const int last = int(values.size()) - 1;
    for (int i = 0; i <= last; ++i) {
        float sum = 0;
        for (int k = i - width / 2; k <= i + width / 2; ++k)
            sum += values[std::size_t(std::clamp(k, 0, last))];
        means[std::size_t(i)] = sum / float(width);
    }
    return means;
}

} // namespace

AttackFinder::AttackFinder(int sampleRateHz)
    : sampleRateHz_(sampleRateHz), spectrum_(sampleRateHz), hop_(std::int64_t(spectrum_.hop())) {}

std::int64_t AttackFinder::framesIn(double ms) const noexcept {
    return std::int64_t(ms * sampleRateHz_ / 1000);
}

std::int64_t AttackFinder::hopsIn(double ms) const noexcept {
    return std::llround(ms * sampleRateHz_ / 1000 / double(hop_));
}

std::int64_t AttackFinder::framesBefore() const noexcept {
    // Half a window before the first hop that loudness() looks at.
    return (hopsIn(apart) + peakHops + hopsIn(loudBehind) + hopsIn(loudAhead) + 2) * hop_;
}

std::int64_t AttackFinder::framesAfter() const noexcept {
    // Until the next attack, which ends this one, and as far as loudness() looks for that.
    return (hopsIn(whole + fadeOut + mostOff) + hopsIn(loudAhead) + 2 * peakHops + 4) * hop_;
}

std::vector<Attack> AttackFinder::find(std::span<const float> stereo, std::int64_t first,
                                       std::int64_t count, std::int64_t fileLength) {
    origin_ = first - framesBefore();
    takeApart(stereo);
    const std::int64_t longest = framesIn(whole + fadeOut + mostOff);
    std::vector<Attack> attacks;
    std::size_t inRange = 0;
    for (const std::int64_t hop : onsets(first / hop_, (first + count + longest) / hop_)) {
        const std::int64_t at = hop * hop_;
        Attack attack;
        if (at < framesIn(fromStart) || at > fileLength - framesIn(toEnd) || !lift(hop, attack))
            continue;
        inRange += at < first + count;
        attacks.push_back(std::move(attack));
    }
    for (std::size_t i = 0; i < inRange; ++i) {
        const std::int64_t end = attacks[i].onset + framesIn(whole + fadeOut);
        const bool isCut = i + 1 < attacks.size() && attacks[i + 1].onset < end;
        shape(attacks[i], isCut ? attacks[i + 1].onset : end, framesIn(isCut ? fadeIn : fadeOut));
    }
    attacks.resize(inRange);
    return attacks;
}

void AttackFinder::takeApart(std::span<const float> stereo) {
    for (std::size_t channel = 0; channel < 2; ++channel) {
        channels_[channel].resize(stereo.size() / 2);
        for (std::size_t i = 0; i < channels_[channel].size(); ++i)
            channels_[channel][i] = stereo[2 * i + channel];
    }
}

/// Index in channels_ of the window that is centred on `hop` hops into the file.
std::size_t AttackFinder::windowAt(std::int64_t hop) const {
    return std::size_t(hop * hop_ - origin_) - spectrum_.size() / 2;
}

/// Of the spectrum of that window.
const AttackFinder::Powers& AttackFinder::powersAt(std::int64_t hop) {
    return powers_.at(hop, [&] {
        Powers powers(spectrum_.bins());
        std::vector<Spectrum::Bin> bins(spectrum_.bins());
        for (const std::vector<float>& channel : channels_) {
            spectrum_.forward(channel.data() + windowAt(hop), bins);
            for (std::size_t i = 0; i < bins.size(); ++i)
                powers[i] += std::norm(bins[i]);
        }
        return powers;
    });
}

/// As much as those powers add up to, about.
double AttackFinder::energyAt(std::int64_t hop) {
    return energies_.at(hop, [&] {
        const std::size_t size = spectrum_.size();
        double energy = 0;
        for (const std::vector<float>& channel : channels_)
            for (const float sample : std::span(channel).subspan(windowAt(hop), size))
                energy += double(sample) * sample;
        return energy * 3 / 8 * double(size) / 2;
    });
}

/// For each hop, the peak of the energies around it and of those before, which fades.
std::vector<double> AttackFinder::loudness(std::int64_t first, std::int64_t end) {
    const std::int64_t ahead = hopsIn(loudAhead), behind = hopsIn(loudBehind);
    const double fall =
        std::pow(10, -0.1 * loudFallDbPerMs * 1000 * double(hop_) / double(sampleRateHz_));
    std::vector<double> energies; // from first − behind − ahead on
    for (std::int64_t hop = first - behind - ahead; hop < end + ahead; ++hop)
        energies.push_back(energyAt(hop));
    std::vector<double> loudness;
    double loud = 0;
    for (std::int64_t hop = first - behind; hop < end; ++hop) {
        const auto around = energies.begin() + (hop - first + behind);
        loud = std::max(*std::max_element(around, around + 2 * ahead + 1), loud * fall);
        if (hop >= first)
            loudness.push_back(loud);
    }
    return loudness;
}

/// The hops of a range at which attacks are found.
std::vector<std::int64_t> AttackFinder::onsets(std::int64_t first, std::int64_t end) {
    using Bands = std::array<double, Spectrum::bandCount>;
    const std::int64_t from = hopsIn(pastFrom), to = hopsIn(pastTo);
    // An attack shortly before the range would be found again in it.
    const std::int64_t begin = first - hopsIn(apart) - peakHops;
    std::vector<Bands> energies; // from begin − from on
    for (std::int64_t hop = begin - from; hop < end + peakHops; ++hop) {
        const Powers& powers = powersAt(hop);
        Bands& bands = energies.emplace_back();
        for (std::size_t band = 0; band < bands.size(); ++band)
            for (std::size_t i = spectrum_.bandEdges()[band]; i < spectrum_.bandEdges()[band + 1];
                 ++i)
                bands[band] += double(powers[i]);
    }
    const std::vector<double> loud = loudness(begin, end + peakHops);
    const auto riseAt = [&](std::int64_t hop) {
        const auto now = std::size_t(hop - begin + from);
        const double floor = loud[std::size_t(hop - begin)] * std::pow(10, floorDb / 10) +
                             1e-9 * double(spectrum_.size());
        double rise = 0;
        for (std::size_t band = 0; band < Spectrum::bandCount; ++band) {
            double before = 0;
            for (std::size_t ago = std::size_t(to); ago <= std::size_t(from); ++ago)
                before = std::max(before, energies[now - ago][band]);
            rise += ramp(decibels((energies[now][band] + floor) / (before + floor)), riseFromDb,
                         riseToDb);
        }
        return rise;
    };
    std::vector<std::int64_t> found;
    for (std::int64_t hop = begin; hop < end; ++hop) {
        if (riseAt(hop) < leastRise)
            continue;
        std::int64_t best = hop;
        for (std::int64_t later = hop + 1; later < hop + peakHops; ++later)
            if (riseAt(later) > riseAt(best))
                best = later;
        if (best >= first)
            found.push_back(best);
        hop = best + hopsIn(apart) - 1;
    }
    return found;
}

/// What stands out around an onset, not yet shaped; false if nothing does.
bool AttackFinder::lift(std::int64_t onsetHop, Attack& attack) {
    const std::int64_t before = hopsIn(pastFrom), sustained = hopsIn(whole + fadeOut) + 1;
    std::vector<Powers> powers; // from onsetHop − before on
    for (std::int64_t hop = onsetHop - before; hop < onsetHop + sustained + 5; ++hop)
        powers.push_back(powersAt(hop));
    const std::vector<float> mask = maskFor(powers, std::size_t(before));
    if (mask.empty())
        return false;

    const auto size = std::int64_t(spectrum_.size());
    const std::int64_t firstHop = onsetHop - before;
    const std::int64_t hops = std::int64_t(powers.size());
    attack.begin = firstHop * hop_ - size / 2;
    std::vector<Spectrum::Bin> bins(spectrum_.bins()), louder(spectrum_.bins());
    const auto frames = std::size_t((hops - 1) * hop_ + size);
    attack.removed.resize(2 * frames);
    attack.played.resize(2 * frames);
    std::vector<float> removed(frames), played(frames);
    for (std::size_t channel = 0; channel < 2; ++channel) {
        std::ranges::fill(removed, 0.0F);
        std::ranges::fill(played, 0.0F);
        for (std::int64_t hop = 0; hop < hops; ++hop) {
            const float* const m = mask.data() + hop * std::int64_t(bins.size());
            if (std::all_of(m, m + bins.size(), [](float part) { return part == 0; }))
                continue;
            const std::int64_t at = hop * hop_;
            spectrum_.forward(channels_[channel].data() + attack.begin + at - origin_, bins);
            for (std::size_t i = 0; i < bins.size(); ++i) {
                louder[i] = bins[i] * std::sqrt(m[i] * (2 - m[i]));
                bins[i] *= m[i];
            }
            spectrum_.addInverse(bins, removed.data() + at);
            spectrum_.addInverse(louder, played.data() + at);
        }
        for (std::size_t i = 0; i < frames; ++i) {
            attack.removed[2 * i + channel] = removed[i];
            attack.played[2 * i + channel] = played[i];
        }
    }
    attack.onset = settingIn(attack, onsetHop * hop_);
    return true;
}

/// The part of each bin of each spectrum, 0 to 1, that stands out; empty if none does. `onset` is
/// the index of the spectrum at which the attack was found.
std::vector<float> AttackFinder::maskFor(std::span<const Powers> powers, std::size_t onset) const {
    const std::size_t bins = spectrum_.bins();
    const auto most = [bins](std::span<const Powers> of) {
        Powers greatest(bins);
        for (const Powers& each : of)
            for (std::size_t i = 0; i < bins; ++i)
                greatest[i] = std::max(greatest[i], each[i]);
        return greatest;
    };
    const Powers past = most(powers.first(onset - std::size_t(hopsIn(pastTo)) + 1));
    Powers before(bins);
    for (std::size_t i = 0; i < bins; ++i)
        before[i] = std::max({past[i], past[i > 0 ? i - 1 : 0], past[std::min(i + 1, bins - 1)]});
    const Powers now = most(powers.subspan(onset - 1, 5));
    Powers after(bins);
    for (const Powers& late : powers.last(5))
        for (std::size_t i = 0; i < bins; ++i)
            after[i] += late[i] / 5;
    after = smoothed(after, 5);

    const float quiet = 1e-9F * float(spectrum_.size()) + 1e-7F * std::ranges::max(now);
    const Powers smoothNow = smoothed(now, 3), smoothBefore = smoothed(before, 3);
    std::vector<float> mask(powers.size() * bins);
    bool isAny = false;
    std::vector<float> rise(bins), rest(bins);
    for (std::size_t i = 0; i < bins; ++i) {
        const double up = decibels(double(smoothNow[i] + quiet) / double(smoothBefore[i] + quiet));
        const double part = ramp(up, maskFromDb, maskToDb);
        rise[i] = float(part * part * (3 - 2 * part));
        const double down = decibels(double(smoothNow[i] + quiet) / double(after[i] + quiet));
        if (double(i) * sampleRateHz_ < lowHz * double(spectrum_.size()))
            rise[i] *= float(ramp(down, lowFallFromDb, lowFallToDb));
        rest[i] = aboveRest * std::sqrt(std::max(after[i], before[i]));
        isAny = isAny || rise[i] > 0;
    }
    if (!isAny)
        return {};
    for (std::size_t hop = 0; hop < powers.size(); ++hop) {
        const Powers smooth = smoothed(powers[hop], 3);
        for (std::size_t i = 0; i < bins; ++i)
            mask[hop * bins + i] =
                rise[i] * std::max(0.0F, 1 - rest[i] / (std::sqrt(smooth[i]) + 1e-9F));
    }
    return mask;
}

/// The frame at which the energy of what was lifted sets in.
std::int64_t AttackFinder::settingIn(const Attack& attack, std::int64_t onset) const {
    const std::int64_t window = framesIn(energyWindow), off = framesIn(mostOff);
    const std::int64_t from = onset - off - attack.begin;
    const auto energyAt = [&](std::int64_t frame) {
        const float left = attack.removed[std::size_t(2 * frame)];
        const float right = attack.removed[std::size_t(2 * frame + 1)];
        return double(left) * left + double(right) * right;
    };
    double energy = 0;
    for (std::int64_t frame = from - window / 2; frame < from + window / 2; ++frame)
        energy += energyAt(frame);
    std::vector<double> energies;
    for (std::int64_t frame = from; frame < from + 2 * off; ++frame) {
        energies.push_back(energy);
        energy += energyAt(frame + window / 2) - energyAt(frame - window / 2);
    }
    const double threshold = onsetEnergy * std::ranges::max(energies);
    const auto first =
        std::ranges::find_if(energies, [&](double value) { return value > threshold; });
    return onset - off + (first - energies.begin()) + framesIn(onsetDelay);
}

/// Cuts an attack down to what lies between its onset and `end`, where it fades out.
void AttackFinder::shape(Attack& attack, std::int64_t end, std::int64_t fade) const {
    const std::int64_t begin = attack.onset - framesIn(fadeInEnd) - framesIn(fadeIn);
    const std::int64_t skipped = begin - attack.begin;
    for (std::int64_t frame = begin; frame < end; ++frame) {
        const float gain = raisedCosine(double(frame - begin) / double(framesIn(fadeIn))) *
                           raisedCosine(double(end - frame) / double(fade));
        for (const std::int64_t sample : {2 * (frame - begin), 2 * (frame - begin) + 1}) {
            const auto to = std::size_t(sample), from = std::size_t(sample + 2 * skipped);
            attack.removed[to] = gain * attack.removed[from];
            attack.played[to] = std::sqrt(gain * (2 - gain)) * attack.played[from];
        }
    }
    attack.begin = begin;
    attack.removed.resize(std::size_t(std::max<std::int64_t>(0, 2 * (end - begin))));
    attack.played.resize(attack.removed.size());
}

} // namespace ambrel
