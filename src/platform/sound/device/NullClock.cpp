#include "platform/sound/device/NullClock.h"

#include <chrono>

namespace ambrel {

namespace {

using Seconds = std::chrono::duration<double>;

constexpr int blocksPerSecond = 100;

/// Frames are taken when less than this is left to be heard.
constexpr double leadSeconds = 0.005;

/// The most that a tick makes up for; if later, the machine was asleep or stuck.
constexpr double largestCatchUpSeconds = 0.1;

/// Retry interval while the source is being prepared.
constexpr auto prepareAgainAfter = std::chrono::milliseconds(2);

SoundClock::duration clockDuration(double seconds) {
    return std::chrono::duration_cast<SoundClock::duration>(Seconds(seconds));
}

} // namespace

NullClock::NullClock(RenderGate& gate, HeardClock& heard) : gate_(gate), heard_(heard) {}

void NullClock::begin(SoundClock::time_point now) {
    gate_.giveTurn(RenderTurn::clock);
    const int sampleRateHz = gate_.sampleRateHz();
    discarded_.resize(2 * static_cast<std::size_t>(sampleRateHz / blocksPerSecond));
    sampleRateHz_ = sampleRateHz;
    origin_ = now;
    originFrames_ = static_cast<double>(heard_.heard(gate_.rendered()));
}

SoundClock::time_point NullClock::tick(SoundClock::time_point now) {
    if (gate_.sampleRateHz() != sampleRateHz_) {
        begin(now);
    }
    if (sampleRateHz_ == 0) {
        return now + prepareAgainAfter;
    }
    const double rate = sampleRateHz_;
    const auto lateFrames = heardFrames(now) - static_cast<double>(gate_.rendered());
    if (lateFrames > largestCatchUpSeconds * rate) {
        origin_ += clockDuration(lateFrames / rate - largestCatchUpSeconds);
    }
    const double wanted = heardFrames(now) + leadSeconds * rate;
    while (static_cast<double>(gate_.rendered()) <= wanted) {
        if (!gate_.render(RenderTurn::clock, sampleRateHz_, discarded_.data(),
                          discarded_.size() / 2)) {
            return now + prepareAgainAfter;
        }
    }
    heard_.run(origin_, originFrames_, rate);
    const double spareFrames = static_cast<double>(gate_.rendered()) - wanted;
    return now + clockDuration(spareFrames / rate);
}

double NullClock::heardFrames(SoundClock::time_point now) const {
    return originFrames_ + Seconds(now - origin_).count() * sampleRateHz_;
}

} // namespace ambrel
