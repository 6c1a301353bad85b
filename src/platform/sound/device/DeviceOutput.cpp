#include "platform/sound/device/DeviceOutput.h"

#include "platform/sound/device/CubebContext.h"
#include "platform/sound/device/CubebStream.h"
#include "platform/sound/device/DeviceCallback.h"
#include "platform/sound/thread/SoundPriority.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ambrel {

namespace {

using namespace std::chrono_literals;

/// A device asks every few milliseconds, pauses for 50 ms when moved to another sink, and for
/// longer on a busy machine. What the clock takes meanwhile is never heard.
constexpr auto longestSilence = 250ms;

/// How long a start waits for a device to be opened, and an open device for its first request.
constexpr auto longestWait = 300ms;

/// A stream counts as running after this many requests: one whose sink is suspended asks once, to
/// fill its buffer.
constexpr std::uint64_t requestsOfARunningStream = 3;

/// A stream that has asked for nothing for this long is given up, even if no error was reported.
constexpr auto longestStall = 2s;

constexpr auto retryInterval = 1s;

/// How long a stream plays silence after a stop, so that a start within that time needs no new one.
constexpr auto idleTime = 3s;

/// How often a device is looked at, and its position read. HeardClock interpolates.
constexpr auto watchInterval = 20ms;

/// Wait after an exception, for want of memory.
constexpr auto afterAFailure = 100ms;

/// Closing a device takes a few milliseconds, and quitting must not take a second.
constexpr auto longestFarewell = 400ms;

} // namespace

DeviceOutput::DeviceOutput()
    : access_(std::make_shared<SourceAccess>()), clock_(*access_, heard_) {}

DeviceOutput::~DeviceOutput() {
    access_->close();
    closing_ = true;
    wake_.signal();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void DeviceOutput::open(FrameSource& source) {
    access_->open(source);
    thread_ = std::thread([this] { run(); });
}

void DeviceOutput::start() {
    wanted_ = true;
    wake_.signal();
}

void DeviceOutput::stop() {
    wanted_ = false;
    wake_.signal();
}

std::int64_t DeviceOutput::framesHeard() const noexcept {
    return heard_.heard(access_->rendered());
}

void DeviceOutput::run() {
    raiseSoundPriority(SoundUrgency::onDemand); // as the device that it stands in for
    lastWanted_ = SoundClock::now();
    while (!closing_) {
        auto next = SoundClock::now() + afterAFailure;
        try {
            next = step(SoundClock::now());
        } catch (...) { // no memory
        }
        wake_.waitUntil(next);
    }
    try {
        end();
    } catch (...) { // no memory: the device ends with the process
    }
}

/// Returns when to be called again at the latest.
SoundClock::time_point DeviceOutput::step(SoundClock::time_point now) {
    if (wanted_) {
        lastWanted_ = now;
    }
    keepDevice(now);
    const Puller before = access_->puller();
    const Puller puller = nextPuller(now);
    access_->setPuller(puller);
    if (puller == Puller::clock) {
        if (before != Puller::clock) {
            clock_.begin(now);
        }
        return clock_.tick(now);
    }
    if (device_.stream) {
        tellHeard();
    }
    if (device_.stream || call_.valid()) {
        return now + watchInterval;
    }
    return now - lastWanted_ <= idleTime ? nextTry_ : SoundClock::time_point::max();
}

Puller DeviceOutput::nextPuller(SoundClock::time_point now) {
    if (!wanted_) {
        return Puller::nobody;
    }
    const bool asks = device_.stream && now - device_.callback->lastRequest() < longestSilence;
    switch (access_->puller()) {
    case Puller::clock:
        return asks && device_.callback->requests() >= requestsOfARunningStream ? Puller::device
                                                                                : Puller::clock;
    case Puller::nobody:
        nextTry_ = now;
        if (!device_.stream) {
            patience_ = now + longestWait;
        }
        break;
    case Puller::device:
        if (access_->isPreparing()) {
            patience_ = now + longestWait;
        }
        break;
    }
    return asks || now < patience_ ? Puller::device : Puller::clock;
}

/// Opens, names, watches and closes the device.
void DeviceOutput::keepDevice(SoundClock::time_point now) {
    if (const std::string* title = titles_.take()) {
        title_ = *title;
    }
    if (call_.valid() && !takeResult()) {
        return;
    }
    const bool isNeeded = now - lastWanted_ <= idleTime;
    if (device_.stream) {
        const bool stalled = wanted_ && now - device_.callback->lastRequest() > longestStall;
        if (device_.callback->isPaceless()) {
            heard_.rest(access_->rendered());
            nextTry_ = now + retryInterval; // at once it would be the same again
        }
        if (device_.callback->isLost() || stalled) {
            loseDevice();
        } else if (!isNeeded) {
            closeDevice();
        } else {
            nameDevice(now);
        }
    } else if (isNeeded && now >= nextTry_) {
        openDevice();
    }
}

void DeviceOutput::openDevice() {
    make([access = access_, backend = backend_](Device device) {
        if (device.context) {
            try {
                startStream(access, device);
                return device;
            } catch (const DeviceError&) { // the server may have restarted: reconnect
                device = Device();
            }
        }
        device.context = std::make_unique<CubebContext>(backend);
        startStream(access, device);
        return device;
    });
}

void DeviceOutput::startStream(const std::shared_ptr<SourceAccess>& access, Device& device) {
    const int rateHz = device.context->preferredSampleRateHz();
    access->prepare(rateHz, CubebStream::latencyFrames(*device.context, rateHz));
    device.callback = std::make_unique<DeviceCallback>(access, rateHz);
    device.stream = std::make_unique<CubebStream>(*device.context, rateHz, *device.callback);
}

/// A call takes the device away for a moment: nothing may play by it, or it has just been opened.
void DeviceOutput::nameDevice(SoundClock::time_point now) {
    const std::string& title = device_.stream->title();
    if (title == title_ || (wanted_ && !title.empty())) {
        return;
    }
    patience_ = now + longestWait;
    make([wantedTitle = title_](Device device) {
        device.stream->setTitle(wantedTitle);
        return device;
    });
}

void DeviceOutput::closeDevice() {
    heard_.rest(access_->rendered());
    make([](Device device) {
        device.stream.reset();
        device.callback.reset();
        return device;
    });
}

void DeviceOutput::loseDevice() {
    patience_ = {};
    make([](Device /*lost*/) { return Device(); });
}

/// Makes a call that may never return, on a thread of its own. It has the device until then.
void DeviceOutput::make(Call call) {
    std::packaged_task<Device()> task(
        [call = std::move(call), device = std::move(device_)]() mutable {
            return call(std::move(device));
        });
    call_ = task.get_future();
    std::thread(std::move(task)).detach();
}

/// Takes the device back, if the call that has it has returned.
bool DeviceOutput::takeResult() {
    if (call_.wait_for(0s) != std::future_status::ready) {
        return false;
    }
    try {
        device_ = call_.get();
        if (device_.context) {
            backend_ = device_.context->backend();
        }
    } catch (...) { // no device, or no memory
        patience_ = {};
        nextTry_ = SoundClock::now() + retryInterval;
    }
    return true;
}

void DeviceOutput::tellHeard() {
    const auto position = device_.stream->position();
    const auto now = SoundClock::now();
    const auto heard = position ? device_.callback->heardAt(*position) : std::nullopt;
    if (heard) {
        heard_.follow(now, heard->frames, device_.callback->sampleRateHz(), heard->ceiling);
    }
}

void DeviceOutput::end() {
    const auto deadline = SoundClock::now() + longestFarewell;
    if (call_.valid() && call_.wait_until(deadline) == std::future_status::ready) {
        takeResult();
    }
    if (!call_.valid() && device_.context) {
        loseDevice();
        call_.wait_until(deadline);
    }
}

} // namespace ambrel
