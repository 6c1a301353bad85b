#include "platform/sound/device/DeviceOutput.h"

#include "platform/sound/device/DeviceKeeper.h"
#include "platform/sound/device/DeviceLink.h"
#include "platform/sound/device/SoundControlThread.h"
#include "platform/sound/thread/SoundPriority.h"

#include <algorithm>
#include <chrono>

namespace ambrel {

namespace {

using namespace std::chrono_literals;

/// A device asks every few milliseconds, pauses for 50 ms when moved to another sink, and for
/// longer on a busy machine. What the clock takes meanwhile is never heard.
constexpr auto longestSilence = 250ms;

/// How long a start waits in each state of a device that has not failed.
constexpr auto longestWait = 300ms;

/// Polling interval while waiting for a device.
constexpr auto watchInterval = 50ms;

/// A stream counts as running after this many requests: one whose sink is suspended asks once, to
/// fill its buffer.
constexpr std::uint64_t requestsOfARunningStream = 3;

} // namespace

DeviceOutput::DeviceOutput() : link_(std::make_shared<DeviceLink>()) {}

DeviceOutput::~DeviceOutput() {
    link_->wanted = false;
    link_->gate.close();
    closing_ = true;
    link_->clockBell.ring();
    if (clockThread_.joinable()) {
        clockThread_.join();
    }
}

void DeviceOutput::open(FrameSource& source) {
    link_->gate.open(source);
    link_->opened = true;
    clockThread_ = std::thread([this] { runClock(); });
    controlThread_ = std::make_unique<SoundControlThread>(std::make_shared<DeviceKeeper>(link_));
}

void DeviceOutput::start() {
    startedAt_ = SoundClock::now();
    link_->wanted = true;
    link_->controlBell.ring();
    link_->clockBell.ring();
}

void DeviceOutput::stop() {
    link_->wanted = false;
    link_->controlBell.ring();
    link_->clockBell.ring();
}

std::int64_t DeviceOutput::framesHeard() const noexcept {
    return link_->heard.heard(link_->gate.rendered());
}

void DeviceOutput::runClock() {
    raiseSoundPriority(SoundUrgency::onDemand); // as the device it replaces
    NullClock clock(link_->gate, link_->heard);
    while (!closing_) {
        auto next = SoundClock::time_point::max();
        try {
            if (link_->wanted) {
                next = tickOrWatch(clock, SoundClock::now());
            } else if (ticking_) {
                ticking_ = false;
                link_->gate.giveTurn(RenderTurn::device);
            }
        } catch (...) {
            next = SoundClock::now() + NullClock::afterAFailure;
        }
        link_->clockBell.waitUntil(next);
    }
}

SoundClock::time_point DeviceOutput::tickOrWatch(NullClock& clock, SoundClock::time_point now) {
    if (deviceAsks(now)) {
        if (ticking_) {
            ticking_ = false;
            link_->gate.giveTurn(RenderTurn::device);
        }
        return link_->lastRequest.load() + longestSilence;
    }
    if (!ticking_ && deviceIsExpected(now)) {
        return now + watchInterval;
    }
    if (link_->gate.sampleRateHz() == 0) {
        link_->gate.prepareIfNever(NullClock::defaultSampleRateHz,
                                   NullClock::defaultSampleRateHz / 100);
    }
    if (!ticking_) {
        ticking_ = true;
        clock.begin(now);
    }
    return clock.tick(now);
}

bool DeviceOutput::deviceAsks(SoundClock::time_point now) const {
    return link_->state == DeviceState::playing &&
           now - link_->lastRequest.load() < longestSilence &&
           (!ticking_ || link_->requests >= requestsOfARunningStream);
}

bool DeviceOutput::deviceIsExpected(SoundClock::time_point now) const {
    const auto since = std::max(startedAt_.load(), link_->stateSince.load());
    const bool isSoon = now - since < longestWait;
    switch (link_->state) {
    case DeviceState::closed:
    case DeviceState::opening:
        return isSoon;
    case DeviceState::preparing:
        return true; // preparing takes up to a second on a busy machine; the device is open
    case DeviceState::playing:
        return isSoon && link_->requests < requestsOfARunningStream;
    case DeviceState::failed:
        break;
    }
    return false;
}

} // namespace ambrel
