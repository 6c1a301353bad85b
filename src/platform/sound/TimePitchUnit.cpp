#include "platform/sound/TimePitchUnit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace ambrel {

namespace {

constexpr auto feedFrames = static_cast<std::int64_t>(Stretcher::feedFrames);
/// While it joins, the stretcher is fed this many times the frames that pass: it has caught up
/// after 35 ms, and no block costs more than at the highest speed.
constexpr std::size_t catchUpSpeed = 6;
/// More past than the stretcher must have heard to sound like what is being played.
constexpr std::int64_t settleFrames = 1024;
constexpr int joinFadeMs = 5;
constexpr std::size_t joinFrames = 64;

} // namespace

TimePitchUnit::TimePitchUnit(int sampleRateHz)
    : stretcher_(sampleRateHz),
      fadeFrames_(std::max<std::size_t>(1, sampleRateHz * joinFadeMs / 1000)),
      span_(std::bit_ceil(8 * stretcher_.pad() + 2 * fadeFrames_)), input_(2 * span_) {}

void TimePitchUnit::setRate(double rate) noexcept {
    rate_ = std::clamp(std::isnan(rate) ? 1.0 : rate, Stretcher::minRate, Stretcher::maxRate);
}

void TimePitchUnit::setPitch(double cents) noexcept {
    cents_ = std::clamp(std::isnan(cents) ? 0.0 : cents, -Stretcher::maxCents, Stretcher::maxCents);
}

void TimePitchUnit::begin(std::int64_t frames) noexcept {
    length_ = std::max<std::int64_t>(0, frames);
    pulled_ = 0;
    next_ = 0;
    made_ = 0;
    endKnown_ = false;
    if (neutral()) {
        mode_ = Mode::direct;
        return;
    }
    mode_ = Mode::stretching;
    stretcher_.reset(rate_, cents_);
    fed_ = -static_cast<std::int64_t>(stretcher_.pad());
    first_ = 0;
    stretcher_.discard(stretcher_.startDelay());
    behindZero_ = static_cast<double>(stretcher_.startDelay());
    map_.begin(0, rate_);
}

std::size_t TimePitchUnit::process(FrameInput& source, float* stereo, std::size_t frames) noexcept {
    if (mode_ == Mode::direct && !neutral())
        beginJoining();
    switch (mode_) {
    case Mode::direct:
        return direct(source, stereo, frames);
    case Mode::joining:
        return join(source, stereo, frames);
    case Mode::stretching:
        break;
    }
    return stretch(source, stereo, frames);
}

std::int64_t TimePitchUnit::framesLeft() const noexcept {
    if (mode_ != Mode::stretching)
        return length_ - next_;
    const auto centre = static_cast<double>(fed_ - static_cast<std::int64_t>(stretcher_.pad()));
    const double end = endKnown_ ? end_
                                 : map_.output() + (static_cast<double>(length_) -
                                                    std::max(centre, static_cast<double>(first_))) /
                                                       rate_;
    return std::llround(end) - made_;
}

double TimePitchUnit::position() const noexcept {
    if (mode_ != Mode::stretching)
        return static_cast<double>(next_);
    return finished()
               ? static_cast<double>(length_)
               : std::min(map_.inputAt(static_cast<double>(made_)), static_cast<double>(length_));
}

std::size_t TimePitchUnit::direct(FrameInput& source, float* stereo, std::size_t frames) noexcept {
    const std::int64_t wanted = std::min(next_ + static_cast<std::int64_t>(frames), length_);
    pull(source, wanted);
    const std::int64_t until = std::min(wanted, pulled_);
    const auto count = static_cast<std::size_t>(until - next_);
    copyInput(next_, stereo, count);
    next_ = until;
    return count;
}

void TimePitchUnit::beginJoining() noexcept {
    mode_ = Mode::joining;
    stretcher_.reset(1, 0);
    fed_ = next_ - static_cast<std::int64_t>(stretcher_.pad()) - settleFrames;
    first_ = fed_ + static_cast<std::int64_t>(stretcher_.pad());
    stretcher_.discard(stretcher_.startDelay());
    faded_ = 0;
    fading_ = false;
}

std::size_t TimePitchUnit::join(FrameInput& source, float* stereo, std::size_t frames) noexcept {
    // first_ is the input frame that the stretcher gives next; what lies before next_ is old.
    frames = std::min(frames, joinFrames);
    for (std::size_t fed = 0; fading_ || fed < frames * catchUpSpeed;
         fed += Stretcher::feedFrames) {
        const auto ready = static_cast<std::int64_t>(stretcher_.available());
        const std::int64_t fadeEnd =
            next_ + static_cast<std::int64_t>(fadeFrames_ - faded_ + frames);
        if (first_ + ready >= fadeEnd || !feed(source))
            break;
    }
    if (fading_)
        frames = std::min(frames, stretcher_.available());
    const std::size_t count = direct(source, stereo, frames);
    const std::int64_t began = next_ - static_cast<std::int64_t>(count);
    std::array<float, 2 * joinFrames> beside{};
    while (first_ < began) {
        const std::size_t old = stretcher_.take(
            beside.data(), std::min(joinFrames, static_cast<std::size_t>(began - first_)));
        if (old == 0)
            return count;
        first_ += static_cast<std::int64_t>(old);
    }
    if (!fading_ && stretcher_.available() < fadeFrames_ + count)
        return count;
    fading_ = true;
    first_ += static_cast<std::int64_t>(stretcher_.take(beside.data(), count));
    for (std::size_t i = 0; i < count; ++i) {
        const float share =
            std::min(1.0F, static_cast<float>(++faded_) / static_cast<float>(fadeFrames_));
        stereo[2 * i] += share * (beside[2 * i] - stereo[2 * i]);
        stereo[2 * i + 1] += share * (beside[2 * i + 1] - stereo[2 * i + 1]);
    }
    if (faded_ >= fadeFrames_)
        endJoining();
    return count;
}

void TimePitchUnit::endJoining() noexcept {
    mode_ = Mode::stretching;
    made_ = 0;
    endKnown_ = false;
    map_.begin(static_cast<double>(first_), 1);
    const auto centre = fed_ - static_cast<std::int64_t>(stretcher_.pad());
    map_.advance(static_cast<double>(std::min(centre, length_) - first_), 1);
    behindZero_ = static_cast<double>(stretcher_.taken());
    if (centre >= length_) {
        endKnown_ = true;
        end_ = map_.output();
    }
}

std::size_t TimePitchUnit::stretch(FrameInput& source, float* stereo, std::size_t frames) noexcept {
    stretcher_.setRate(rate_);
    stretcher_.setCents(cents_);
    std::size_t done = 0;
    while (done < frames && !finished()) {
        const auto wanted = static_cast<std::size_t>(
            std::min(static_cast<std::int64_t>(frames - done), framesLeft()));
        const std::size_t count = stretcher_.take(stereo + 2 * done, wanted);
        done += count;
        made_ += static_cast<std::int64_t>(count);
        if (count == 0 && !feed(source))
            break;
    }
    return done;
}

bool TimePitchUnit::feed(FrameInput& source) noexcept {
    const std::int64_t until = fed_ + feedFrames;
    if (!pull(source, until))
        return false;
    std::array<float, 2 * Stretcher::feedFrames> stereo{};
    copyInput(fed_, stereo.data(), Stretcher::feedFrames);
    stretcher_.feed(stereo.data());
    fed_ = until;
    if (mode_ != Mode::stretching)
        return true;
    const auto centre = fed_ - static_cast<std::int64_t>(stretcher_.pad());
    if (centre <= first_ || endKnown_)
        return true;
    map_.advance(
        static_cast<double>(std::min(centre, length_) - std::max(centre - feedFrames, first_)),
        rate_);
    if (centre >= length_) {
        endKnown_ = true;
        end_ = map_.output();
    }
    stretcher_.correct(behindZero_ + map_.output() - stretcher_.committed());
    return true;
}

bool TimePitchUnit::pull(FrameInput& source, std::int64_t upTo) noexcept {
    upTo = std::min(upTo, length_);
    while (pulled_ < upTo) {
        const auto at = static_cast<std::size_t>(pulled_) & (span_ - 1);
        const std::size_t room = std::min(span_ - at, static_cast<std::size_t>(upTo - pulled_));
        const std::size_t count = source.read(input_.data() + 2 * at, room);
        if (count == 0)
            return false;
        pulled_ += static_cast<std::int64_t>(count);
    }
    return true;
}

void TimePitchUnit::copyInput(std::int64_t from, float* stereo, std::size_t frames) const noexcept {
    for (std::size_t i = 0; i < frames; ++i) {
        const std::int64_t frame = from + static_cast<std::int64_t>(i);
        const auto at = 2 * (static_cast<std::size_t>(frame) & (span_ - 1));
        const bool inside = frame >= 0 && frame < length_;
        stereo[2 * i] = inside ? input_[at] : 0.0F;
        stereo[2 * i + 1] = inside ? input_[at + 1] : 0.0F;
    }
}

} // namespace ambrel
