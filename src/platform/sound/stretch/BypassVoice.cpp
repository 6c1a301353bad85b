#include "platform/sound/stretch/BypassVoice.h"

#include <cmath>

#include "platform/sound/effect/Correlation.h"

namespace ambrel {

BypassVoice::BypassVoice(RunInput& input, const FrameHistory& heard, std::size_t mostLag)
    : input_(input), heard_(heard), last_(comparedFrames), window_(comparedFrames + 2 * mostLag) {}

std::optional<double> BypassVoice::lineUp(double position, std::size_t, double) noexcept {
    const std::size_t lags = window_.size() - comparedFrames;
    const std::int64_t expected = std::llround(position);
    const std::int64_t first = expected - static_cast<std::int64_t>(comparedFrames + lags / 2);
    input_.fetch(first, window_.size());
    for (std::size_t i = 0; i < last_.size(); ++i)
        last_[i] = heard_.mono(heard_.end() - static_cast<std::int64_t>(last_.size() - i));
    for (std::size_t i = 0; i < window_.size(); ++i)
        window_[i] = input_.mono(first + static_cast<std::int64_t>(i));
    double highest = 0;
    next_ = expected;
    for (std::size_t lag = 0; lag <= lags; ++lag) {
        const double alike = correlation(last_.data(), window_.data() + lag, comparedFrames);
        if (alike > highest) {
            highest = alike;
            next_ = first + static_cast<std::int64_t>(comparedFrames + lag);
        }
    }
    return highest;
}

void BypassVoice::take(float* stereo, std::size_t frames) noexcept {
    input_.copySound(next_, stereo, frames);
    next_ += static_cast<std::int64_t>(frames);
}

} // namespace ambrel
