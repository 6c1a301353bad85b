#include "platform/sound/stretch/StretchLine.h"

#include <algorithm>
#include <cmath>

namespace ambrel {

void StretchLine::begin(std::int64_t first, double rate, double cents, std::size_t lead) {
    constexpr double feed = Stretcher::feedFrames;
    const double leadInput = std::ceil(static_cast<double>(lead) * rate / feed) * feed;
    stretcher_.reset(rate, cents);
    startDelay_ = static_cast<double>(stretcher_.startDelay()) + leadInput / rate;
    stretcher_.discard(std::llround(startDelay_));
    rate_ = rate;
    first_ = mapped_ = first;
    fed_ = first - static_cast<std::int64_t>(pad()) - static_cast<std::int64_t>(leadInput);
    made_ = 0;
    map_.begin(static_cast<double>(first), rate);
}

void StretchLine::set(double rate, double cents) {
    rate_ = rate;
    stretcher_.setRate(rate);
    stretcher_.setCents(cents);
}

void StretchLine::feed(const float* stereo, std::int64_t length) {
    stretcher_.feed(stereo);
    fed_ += static_cast<std::int64_t>(Stretcher::feedFrames);
    // A frame is heard when the centre of the analysis window passes it.
    const std::int64_t reached = std::min(centre(), length);
    if (reached <= mapped_)
        return;
    map_.advance(static_cast<double>(reached - mapped_), rate_);
    mapped_ = reached;
    stretcher_.correct(startDelay_ + map_.output() - stretcher_.committed());
}

std::size_t StretchLine::take(float* stereo, std::size_t frames) {
    const std::size_t count = stretcher_.take(stereo, frames);
    made_ += static_cast<std::int64_t>(count);
    return count;
}

double StretchLine::framesLeft(std::int64_t length) const noexcept {
    // The end of the run may have moved to before what was fed.
    const double end = length < mapped_
                           ? map_.outputAt(static_cast<double>(length))
                           : map_.output() + static_cast<double>(length - mapped_) / rate_;
    return end - static_cast<double>(made_);
}

double StretchLine::rateLeaving(std::size_t frames, std::int64_t length,
                                double wanted) const noexcept {
    const double missing = static_cast<double>(frames) + static_cast<double>(made_) - map_.output();
    if (missing <= 0 || length <= mapped_)
        return wanted;
    return std::min(wanted, std::max(rate_, static_cast<double>(length - mapped_) / missing));
}

} // namespace ambrel
