#include "platform/sound/device/DeviceCallback.h"

#include "platform/sound/device/HeardClock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ambrel {

namespace {

/// More than any device buffers. One that has taken so much more than it can have played has no
/// clock: a null device takes whatever it is given.
constexpr double longestBufferSeconds = 4;

} // namespace

DeviceCallback::DeviceCallback(std::shared_ptr<SourceAccess> access, int sampleRateHz)
    : access_(std::move(access)), sampleRateHz_(sampleRateHz), fade_(sampleRateHz) {}

void DeviceCallback::fill(float* stereo, std::size_t frames) noexcept {
    const auto now = SoundClock::now();
    measurePace(now - lastRequest_.load(), frames);
    lastRequest_ = now;
    ++requests_;
    const auto first =
        isLost() ? std::nullopt : access_->render(Puller::device, sampleRateHz_, stereo, frames);
    if (first) {
        note(*first);
        fadeStep_ = fade_.in(stereo, frames, fadeStep_);
    } else {
        std::fill_n(stereo, 2 * frames, 0.0F);
        fadeStep_ = 0;
    }
    silent_ = !first;
    written_ += static_cast<std::int64_t>(frames);
}

/// At twice the speed, because a device's clock may be a little fast.
void DeviceCallback::measurePace(SoundClock::duration elapsed, std::size_t frames) noexcept {
    const double played = 2 * std::chrono::duration<double>(elapsed).count() * sampleRateHz_;
    framesAhead_ = std::max(0.0, framesAhead_ - played) + static_cast<double>(frames);
    if (framesAhead_ > longestBufferSeconds * sampleRateHz_) {
        paceless_ = true;
        lose();
    }
}

// If the queue is full, the span is recorded with the next request.
void DeviceCallback::note(std::int64_t renderedFrame) noexcept {
    const bool goesOn =
        writing_ && renderedFrame - writing_->renderedFrame == written_ - writing_->streamFrame;
    const Span span = {written_, renderedFrame};
    if (!goesOn && spans_.push(span)) {
        writing_ = span;
    }
}

std::optional<DeviceCallback::Heard> DeviceCallback::heardAt(std::uint64_t position) {
    const auto streamFrame = static_cast<std::int64_t>(position);
    while (spans_.read_available() > 0 && spans_.front().streamFrame <= streamFrame) {
        hearing_ = spans_.front();
        spans_.pop();
    }
    if (!hearing_) {
        return std::nullopt;
    }
    std::int64_t ceiling = silent_ ? access_->rendered() : HeardClock::noCeiling;
    if (spans_.read_available() > 0) {
        ceiling = spans_.front().renderedFrame;
    }
    return Heard{static_cast<double>(hearing_->renderedFrame + streamFrame - hearing_->streamFrame),
                 ceiling};
}

} // namespace ambrel
