#include "platform/sound/effect/Limiter.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/sound/effect/Fade.h"

namespace ambrel {

namespace {

/// Of each of the two means: 1.3 ms looked ahead in all, just under a block of the render thread.
constexpr int meansPerSecond = 1500;
/// A peak counts for at least this long: half a period of 20 Hz, and the frames looked ahead.
constexpr int windowMs = 30;
constexpr double releaseSeconds = 0.5;
/// A little below full scale, so that no rounding goes beyond it.
constexpr double ceiling = 1 - 1e-6;
constexpr std::size_t usuallyWaiting = 1024;

} // namespace

Limiter::Limiter(int sampleRateHz)
    : step_(std::max<std::int64_t>(1, std::int64_t(double(one) / releaseSeconds / sampleRateHz))),
      window_(std::size_t(std::max(1, sampleRateHz * windowMs / 1000))), gains_(usuallyWaiting) {
    for (RunningSum* sum : {&first_, &second_})
        sum->last.resize(std::size_t(std::max(1, sampleRateHz / meansPerSecond)));
    reset();
}

void Limiter::RunningSum::fill(std::int64_t value) noexcept {
    std::ranges::fill(last, value);
    sum = value * std::int64_t(last.size());
}

void Limiter::reset() noexcept {
    inWindow_ = 0;
    low_ = lowBefore_ = envelope_ = one;
    first_.fill(one);
    second_.fill(first_.sum);
    at_ = 0;
    undecided_ = 0;
    gains_.clear();
}

void Limiter::see(const float* stereo, std::size_t frames) {
    for (; frames > 0; --frames, stereo += 2) {
        const float gain = advance(std::max(std::abs(stereo[0]), std::abs(stereo[1])));
        if (undecided_ < lookAhead())
            ++undecided_;
        else
            decide(gain);
    }
}

void Limiter::seeEnd() {
    constexpr std::array silence{0.0F, 0.0F};
    const std::size_t all = waiting();
    while (gains_.size() < all)
        see(silence.data(), 1);
    undecided_ = 0;
}

bool Limiter::apply(float* stereo, std::size_t frames) noexcept {
    if (gains_.size() < frames)
        return false;
    for (std::size_t i = 0; i < frames; ++i)
        Fade::scale(stereo + 2 * i, gains_[i]);
    gains_.erase_begin(frames);
    return true;
}

/// Takes the peak of the next frame, and returns the gain of the one lookAhead() frames before it.
float Limiter::advance(float peak) noexcept {
    if (peak > 1)
        low_ = std::min(low_, std::int64_t(double(one) * ceiling / double(peak)));
    envelope_ = std::min({low_, lowBefore_, envelope_ + step_});
    if (++inWindow_ == window_) {
        lowBefore_ = std::exchange(low_, one);
        inWindow_ = 0;
    }
    const std::int64_t sum = second_.add(first_.add(envelope_, at_), at_);
    const std::size_t size = first_.last.size();
    at_ = at_ + 1 < size ? at_ + 1 : 0;
    return static_cast<float>(double(sum) / double(one) / double(size * size));
}

void Limiter::decide(float gain) {
    if (gains_.full())
        gains_.set_capacity(2 * gains_.capacity());
    gains_.push_back(gain);
}

} // namespace ambrel
