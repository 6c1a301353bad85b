#include "platform/sound/stretch/AttackPlayer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ambrel {

namespace {

/// Output frames for an input frame, more or less than one, from which attacks are played as loud
/// as if the rest had nothing to do with them.
constexpr double louderFrom = 0.1;

} // namespace

AttackPlayer::AttackPlayer(const RunInput& input) : input_(input) {
    placed_.reserve(mostPlaced + 1);
    for (int i = 0; i <= lobes * steps + 1; ++i) {
        const double at = std::numbers::pi * i / steps;
        const double window = i < lobes * steps ? std::pow(std::cos(at / lobes / 2), 2) : 0;
        kernel_.push_back(static_cast<float>(i == 0 ? 1 : std::sin(at) / at * window));
    }
}

void AttackPlayer::add(std::int64_t first, float* stereo, std::size_t frames,
                       const Stretch& stretch) {
    step_ = input_.attackFrames() * stretch.pitch;
    // Near normal speed the stretched rest is in phase with an attack, and their amplitudes add up.
    const double off = std::max(std::abs(1 / stretch.rate - 1), std::abs(stretch.pitch - 1));
    louder_ = static_cast<float>(std::min(1.0, off / louderFrom));
    for (const RunAttack& attack : input_.attacks()) {
        const auto before = static_cast<double>(attack.onset() - attack.from()) / step_;
        const auto after = static_cast<double>(attack.to() - attack.onset()) / step_;
        const auto begin = static_cast<double>(first), end = begin + static_cast<double>(frames);
        // Too early to be settled: the speed may still change.
        if (stretch.map.outputAt(static_cast<double>(attack.onset()) / input_.attackFrames()) >
            end + before + lobes)
            continue;
        const double onset = place(attack, stretch.map);
        if (onset - before >= end + lobes || onset + after + lobes <= begin)
            continue;
        // An attack's frames are played between those of the output only where that is needed.
        const double output = step_ == 1 ? std::round(onset) : onset;
        mix(attack, static_cast<double>(attack.onset()) + (begin - output) * step_, stereo, frames);
    }
}

/// The output frame of its onset: settled once, whatever the speed becomes while it sounds.
double AttackPlayer::place(const RunAttack& attack, const TimeMap& map) {
    for (const Placed& placed : placed_)
        if (placed.attack == attack.attack && placed.shift == attack.shift)
            return placed.output;
    const double output = map.outputAt(static_cast<double>(attack.onset()) / input_.attackFrames());
    placed_.push_back({attack.attack, attack.shift, output});
    if (placed_.size() > mostPlaced)
        placed_.erase(placed_.begin());
    return output;
}

/// Adds the attack from its frame `from` on.
void AttackPlayer::mix(const RunAttack& attack, double from, float* stereo,
                       std::size_t frames) const noexcept {
    for (std::size_t i = 0; i < frames; ++i) {
        const double at = from + static_cast<double>(i) * step_;
        if (step_ == 1)
            addFrame(attack, std::llround(at), 1, stereo + 2 * i);
        else
            sample(attack, at, stereo + 2 * i);
    }
}

void AttackPlayer::sample(const RunAttack& attack, double at, float* stereo) const noexcept {
    // Frequencies that the output cannot hold are left out.
    const double narrow = std::min(1.0, 1 / step_);
    const double reach = lobes / narrow;
    for (auto frame = static_cast<std::int64_t>(std::ceil(at - reach));
         static_cast<double>(frame) < at + reach; ++frame) {
        const double place = std::abs(static_cast<double>(frame) - at) * narrow * steps;
        const auto point = static_cast<std::size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(point));
        addFrame(attack, frame,
                 static_cast<float>(narrow) *
                     (kernel_[point] + part * (kernel_[point + 1] - kernel_[point])),
                 stereo);
    }
}

void AttackPlayer::addFrame(const RunAttack& attack, std::int64_t frame, float weight,
                            float* stereo) const noexcept {
    if (frame < attack.from() || frame >= attack.to())
        return;
    const Attack& whole = *attack.attack;
    weight *= attack.gain(frame);
    for (const std::int64_t channel : {0, 1}) {
        const auto i = static_cast<std::size_t>(2 * (frame - attack.shift - whole.begin) + channel);
        stereo[channel] +=
            weight * (whole.removed[i] + louder_ * (whole.played[i] - whole.removed[i]));
    }
}

} // namespace ambrel
