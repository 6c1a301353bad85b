#include "platform/sound/stretch/StretchVoice.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/sound/effect/Correlation.h"
#include "platform/sound/effect/Fade.h"

namespace ambrel {

StretchVoice::StretchVoice(RunInput& input, const FrameHistory& heard,
                           MiddleBand::Stretchers& middle, int sampleRateHz,
                           const std::stop_token& stop, Stretcher::Pitch pitch)
    : input_(input), heard_(heard), dropped_(comparedFrames),
      stretcher_(sampleRateHz, stop, Stretcher::Windows::Several, pitch),
      middle_(input, middle, sampleRateHz), restorer_(input, sampleRateHz), attacks_(input),
      fadeOut_(static_cast<double>(Fade::framesAt(sampleRateHz) + blockFrames)) {}

void StretchVoice::begin(std::int64_t first, double rate, double cents, std::size_t lead) {
    constexpr double feed = Stretcher::feedFrames;
    const double leadInput = std::ceil(static_cast<double>(lead) * rate / feed) * feed;
    rate_ = rate;
    cents_ = cents;
    stretcher_.reset(rate, cents);
    startDelay_ = static_cast<double>(stretcher_.startDelay()) + leadInput / rate;
    stretcher_.discard(std::llround(startDelay_));
    map_.begin(static_cast<double>(first), rate);
    mapped_ = first;
    fed_ = first - static_cast<std::int64_t>(pad()) - static_cast<std::int64_t>(leadInput);
    made_ = 0;
    dropped_.restart(0);
    middle_.begin(0, rate, cents, lead > 0);
    restorer_.begin(0);
    attacks_.begin();
    isOutdated_ = false;
}

void StretchVoice::set(double rate, double cents) {
    if (rate == rate_ && cents == cents_)
        return;
    if (middle_.isAhead() || (cents != cents_ && !canTranspose())) {
        isOutdated_ = true;
        return;
    }
    const double missing = fadeOut_ + static_cast<double>(made_) - map_.output();
    const auto left = static_cast<double>(input_.length() - mapped_);
    if (missing > 0 && left > 0)
        rate = std::min(rate, std::max(rate_, left / missing));
    rate_ = rate;
    cents_ = cents;
    stretcher_.setRate(rate);
    stretcher_.setCents(cents);
    middle_.change(rate, cents);
}

double StretchVoice::framesLeft() const noexcept {
    // The end of the run may have moved to before what was fed.
    const std::int64_t length = input_.length();
    const double end = length < mapped_
                           ? map_.outputAt(static_cast<double>(length))
                           : map_.output() + static_cast<double>(length - mapped_) / rate_;
    return end - static_cast<double>(made_);
}

Stretch StretchVoice::stretch() const noexcept {
    return {map_, rate_, std::exp2(cents_ / 1200)};
}

bool StretchVoice::feed() {
    std::array<float, 2 * Stretcher::feedFrames> stereo;
    if (input_.fetch(fed_, Stretcher::feedFrames) < Stretcher::feedFrames)
        return false;
    input_.copyRest(fed_, stereo.data(), Stretcher::feedFrames);
    stretcher_.feed(stereo.data());
    fed_ += static_cast<std::int64_t>(Stretcher::feedFrames);
    // A frame is heard when the centre of the analysis window passes it. What is outside the run
    // does not count towards its duration.
    const std::int64_t reached = std::min(fed_ - static_cast<std::int64_t>(pad()), input_.length());
    if (reached > mapped_) {
        map_.advance(static_cast<double>(reached - mapped_), rate_);
        mapped_ = reached;
        stretcher_.correct(startDelay_ + map_.output() - stretcher_.committed());
    }
    middle_.follow(map_, mapped_, fed_);
    return true;
}

std::optional<double> StretchVoice::lineUp(double position, std::size_t frames, double mostInput) {
    for (double fed = 0;; fed += Stretcher::feedFrames) {
        const auto late =
            static_cast<std::size_t>(std::max(0LL, std::llround(map_.outputAt(position)) - made_));
        const std::size_t ready = stretcher_.available();
        const std::size_t dropped = std::min(late, ready);
        drop(dropped);
        if (dropped > 0) {
            middle_.begin(made_, rate_, cents_, false);
            restorer_.begin(made_);
        }
        if (ready >= late + frames)
            return likeness();
        if (fed >= mostInput || !feed())
            return std::nullopt;
    }
}

void StretchVoice::drop(std::size_t frames) {
    std::array<float, 2 * blockFrames> stereo;
    for (std::size_t got = 0; frames > 0; frames -= got) {
        got = stretcher_.take(stereo.data(), std::min(frames, blockFrames));
        dropped_.add(stereo.data(), got);
        made_ += static_cast<std::int64_t>(got);
    }
}

/// Of what was dropped last with what was heard meanwhile.
double StretchVoice::likeness() const noexcept {
    std::array<float, comparedFrames> dropped, heard;
    for (std::size_t i = 0; i < comparedFrames; ++i) {
        const auto before = static_cast<std::int64_t>(comparedFrames - i);
        dropped[i] = dropped_.mono(dropped_.end() - before);
        heard[i] = heard_.mono(heard_.end() - before);
    }
    return correlation(dropped.data(), heard.data(), comparedFrames);
}

std::size_t StretchVoice::prepare(std::size_t frames) {
    const std::size_t ahead = restorer_.lookAhead(frames, stretch());
    while (restorer_.held() < frames + ahead) {
        std::array<float, 2 * blockFrames> stereo;
        const std::size_t ready =
            prepareMiddle(std::min(frames + ahead - restorer_.held(), blockFrames));
        if (ready == 0)
            break;
        middle_.take(stereo.data(), ready);
        restorer_.add(stereo.data(), ready);
    }
    return std::min(frames, restorer_.held() - std::min(restorer_.held(), ahead));
}

/// Up to `frames` frames for middle_.take(); returns how many are ready.
std::size_t StretchVoice::prepareMiddle(std::size_t frames) {
    const std::size_t ahead = middle_.lookAhead();
    while (middle_.held() < frames + ahead) {
        std::array<float, 2 * blockFrames> stereo;
        const std::size_t missing = frames + ahead - middle_.held();
        const std::size_t got = stretcher_.take(stereo.data(), std::min(missing, blockFrames));
        middle_.add(stereo.data(), got);
        if (got == 0 && !feed())
            break;
    }
    return std::min(frames, middle_.held() - std::min(middle_.held(), ahead));
}

void StretchVoice::take(float* stereo, std::size_t frames) {
    restorer_.take(stereo, frames, stretch());
    attacks_.add(made_, stereo, frames, stretch());
    made_ += static_cast<std::int64_t>(frames);
}

} // namespace ambrel
