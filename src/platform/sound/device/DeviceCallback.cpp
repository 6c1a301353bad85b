#include "platform/sound/device/DeviceCallback.h"

#include "platform/sound/device/HeardClock.h"

#include <algorithm>
#include <utility>

namespace ambrel {

DeviceCallback::DeviceCallback(std::shared_ptr<SourceAccess> access, int sampleRateHz)
    : access_(std::move(access)), sampleRateHz_(sampleRateHz), fade_(sampleRateHz) {}

void DeviceCallback::fill(float* stereo, std::size_t frames) noexcept {
    lastRequest_ = SoundClock::now();
    ++requests_;
    const auto first = access_->render(Puller::device, sampleRateHz_, stereo, frames);
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
