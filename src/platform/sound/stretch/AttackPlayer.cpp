#include "platform/sound/stretch/AttackPlayer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ambrel {

AttackPlayer::AttackPlayer(const RunInput& input) : input_(input) {
    placed_.reserve(mostPlaced + 1);
    for (int i = 0; i <= lobes * steps + 1; ++i) {
        const double at = std::numbers::pi * i / steps;
        const double window = i < lobes * steps ? std::pow(std::cos(at / lobes / 2), 2) : 0;
        kernel_.push_back(static_cast<float>(i == 0 ? 1 : std::sin(at) / at * window));
    }
}

void AttackPlayer::add(std::int64_t first, float* stereo, std::size_t frames, const TimeMap& map,
                       double pitch) {
    const double step = input_.attackFrames() * pitch;
    for (const RunAttack& attack : input_.attacks()) {
        const auto before = static_cast<double>(attack.onset() - attack.from()) / step;
        const auto after = static_cast<double>(attack.to() - attack.onset()) / step;
        const auto begin = static_cast<double>(first), end = begin + static_cast<double>(frames);
        // Too early to be settled: the speed may still change.
        if (map.outputAt(static_cast<double>(attack.onset()) / input_.attackFrames()) >
            end + before + lobes)
            continue;
        const double onset = place(attack, map);
        if (onset - before >= end + lobes || onset + after + lobes <= begin)
            continue;
        // An attack's frames are played between those of the output only where that is needed.
        const double output = step == 1 ? std::round(onset) : onset;
        mix(attack, static_cast<double>(attack.onset()) + (begin - output) * step, step, stereo,
            frames);
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
void AttackPlayer::mix(const RunAttack& attack, double from, double step, float* stereo,
                       std::size_t frames) const noexcept {
    for (std::size_t i = 0; i < frames; ++i)
        sample(attack, from + static_cast<double>(i) * step, step, stereo + 2 * i);
}

void AttackPlayer::sample(const RunAttack& attack, double at, double step,
                          float* stereo) const noexcept {
    const Attack& whole = *attack.attack;
    const auto add = [&](std::int64_t frame, float weight) {
        if (frame < attack.from() || frame >= attack.to())
            return;
        weight *= attack.gain(frame);
        const auto sample = static_cast<std::size_t>(2 * (frame - attack.shift - whole.begin));
        stereo[0] += weight * whole.played[sample];
        stereo[1] += weight * whole.played[sample + 1];
    };
    if (step == 1)
        return add(std::llround(at), 1);
    // Frequencies that the output cannot hold are left out.
    const double narrow = std::min(1.0, 1 / step);
    const double reach = lobes / narrow;
    for (auto frame = static_cast<std::int64_t>(std::ceil(at - reach));
         static_cast<double>(frame) < at + reach; ++frame) {
        const double place = std::abs(static_cast<double>(frame) - at) * narrow * steps;
        const auto point = static_cast<std::size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(point));
        add(frame, static_cast<float>(narrow) *
                       (kernel_[point] + part * (kernel_[point + 1] - kernel_[point])));
    }
}

} // namespace ambrel
