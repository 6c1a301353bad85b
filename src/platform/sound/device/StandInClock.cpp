#include "platform/sound/device/StandInClock.h"

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

StandInClock::StandInClock(SourceAccess& access, HeardClock& heard)
    : access_(access), heard_(heard) {}

void StandInClock::begin(SoundClock::time_point now) {
    const int sampleRateHz = access_.sampleRateHz();
    discarded_.resize(2 * static_cast<std::size_t>(sampleRateHz / blocksPerSecond));
    sampleRateHz_ = sampleRateHz;
    origin_ = now;
    originFrames_ = static_cast<double>(heard_.heard(access_.rendered()));
}

SoundClock::time_point StandInClock::tick(SoundClock::time_point now) {
    if (access_.sampleRateHz() == 0 && !access_.isPreparing()) {
        access_.prepareIfNever(defaultSampleRateHz, defaultSampleRateHz / blocksPerSecond);
    }
    if (access_.sampleRateHz() != sampleRateHz_) {
        begin(now);
    }
    if (sampleRateHz_ == 0) {
        return now + prepareAgainAfter;
    }
    const double rate = sampleRateHz_;
    const auto lateFrames = heardFrames(now) - static_cast<double>(access_.rendered());
    if (lateFrames > largestCatchUpSeconds * rate) {
        origin_ += clockDuration(lateFrames / rate - largestCatchUpSeconds);
    }
    const double wanted = heardFrames(now) + leadSeconds * rate;
    while (static_cast<double>(access_.rendered()) <= wanted) {
        if (!access_.render(Puller::clock, sampleRateHz_, discarded_.data(),
                            discarded_.size() / 2)) {
            return now + prepareAgainAfter;
        }
    }
    heard_.run(origin_, originFrames_, rate);
    const double spareFrames = static_cast<double>(access_.rendered()) - wanted;
    return now + clockDuration(spareFrames / rate);
}

double StandInClock::heardFrames(SoundClock::time_point now) const {
    return originFrames_ + Seconds(now - origin_).count() * sampleRateHz_;
}

} // namespace ambrel
