#include "platform/sound/device/DeviceKeeper.h"

#include <chrono>
#include <utility>

namespace ambrel {

namespace {

using namespace std::chrono_literals;

constexpr auto retryInterval = 1s;

/// How long a stream plays silence after a stop, so that a start within that time needs no new one.
constexpr auto idleTime = 3s;

/// Interval for reading the device's position. HeardClock interpolates.
constexpr auto positionCheckInterval = 20ms;

/// A stream that has asked for nothing for this long is given up, even if no error was reported.
constexpr auto longestStall = 2s;

} // namespace

DeviceKeeper::DeviceKeeper(std::shared_ptr<DeviceLink> link) : link_(std::move(link)) {}

SoundClock::time_point DeviceKeeper::step(SoundClock::time_point now) noexcept {
    try {
        return advance(now);
    } catch (...) {
        disconnect(); // no device, or no memory
        nextTry_ = SoundClock::now() + retryInterval;
        link_->enter(DeviceState::failed);
        return nextTry_;
    }
}

SoundClock::time_point DeviceKeeper::advance(SoundClock::time_point now) {
    if (link_->wanted) {
        lastWanted_ = now;
    }
    if (stream_) {
        return watch(now);
    }
    const bool firstTime = link_->opened && !triedAtOpening_;
    if (!link_->wanted && !firstTime) {
        if (link_->state == DeviceState::failed) {
            link_->enter(DeviceState::closed);
        }
        nextTry_ = {};
        return SoundClock::time_point::max();
    }
    if (now < nextTry_) {
        return nextTry_;
    }
    triedAtOpening_ = true;
    lastWanted_ = now;
    open();
    return now;
}

void DeviceKeeper::finish() {
    stream_.reset();
    feed_.reset();
    context_.reset();
}

SoundClock::time_point DeviceKeeper::watch(SoundClock::time_point now) {
    if (feed_->isLost() || stalled(now)) {
        link_->enter(DeviceState::failed);
        disconnect();
        return now;
    }
    if (now - lastWanted_ > idleTime) {
        closeStream();
        return now;
    }
    if (!link_->wanted) {
        link_->gate.prepare(sampleRateHz_, feed_->largestRequest());
    }
    tellHeard();
    return now + positionCheckInterval;
}

void DeviceKeeper::open() {
    link_->enter(DeviceState::opening);
    if (context_) {
        try {
            openStream();
            return;
        } catch (const DeviceError&) {
            disconnect(); // the server may have restarted: reconnect
        }
    }
    context_.emplace(backend_);
    openStream();
    backend_ = context_->backend();
}

void DeviceKeeper::openStream() {
    sampleRateHz_ = context_->preferredSampleRateHz();
    feed_ = std::make_unique<DeviceFeed>(*link_, sampleRateHz_);
    stream_ = std::make_unique<CubebStream>(*context_, sampleRateHz_, *feed_);
    link_->enter(DeviceState::preparing);
    link_->gate.prepare(sampleRateHz_, CubebStream::latencyFrames(*context_, sampleRateHz_));
    link_->enter(DeviceState::playing);
    stream_->start();
}

void DeviceKeeper::closeStream() {
    link_->enter(DeviceState::closed);
    stream_.reset();
    feed_.reset();
    link_->heard.rest(link_->gate.rendered());
}

void DeviceKeeper::disconnect() {
    stream_.reset();
    feed_.reset();
    context_.reset();
}

void DeviceKeeper::tellHeard() {
    const auto position = stream_->position();
    const auto now = SoundClock::now();
    if (!position || link_->gate.turn() != RenderTurn::device) {
        return;
    }
    if (const auto heard = feed_->heardAt(*position)) {
        link_->heard.follow(now, heard->frames, sampleRateHz_, heard->ceiling);
    }
}

bool DeviceKeeper::stalled(SoundClock::time_point now) const {
    return link_->wanted && now - link_->lastRequest.load() > longestStall;
}

} // namespace ambrel
