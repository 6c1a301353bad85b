#include "platform/sound/stretch/TimePitchUnit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/sound/effect/Crossfade.h"

namespace ambrel {

namespace {

/// Output frames discarded before a run, after which the stretcher has reached its full level.
constexpr std::size_t leadFrames = 512;

/// While catching up, a stretcher is fed at this multiple of real time: it is there after 10 ms,
/// which the frames ready for the device cover even on a machine half as fast.
constexpr double catchUpSpeed = 12;
/// Enough earlier input for the stretcher to sound like what is being played.
constexpr std::int64_t settleFrames = 1024;
constexpr int takeOverFadeMs = 5;

/// After the return to normal the stretcher stays for a while: it needs time to settle, and the
/// next change may be near.
constexpr int neutralMs = 500;
/// Its rate meanwhile: at exactly 1 the engine pulls its phases to those of the input, band by
/// band, and a tone drops by up to 6 dB on the way.
constexpr double nearlyNormal = 1.0001;
constexpr int returnFadeMs = 10;
/// Any later in a run it would not be complete, or not worth it.
constexpr int returnBeforeEndMs = 50;
/// The stretcher drifts no further than this.
constexpr int mostLagMs = 3;

} // namespace

TimePitchUnit::TimePitchUnit(int sampleRateHz, const std::stop_token& stop)
    : sampleRateHz_(sampleRateHz),
      middle_(sampleRateHz, stop), stretchers_{voice(Stretcher::Pitch::Normal, stop),
                                               voice(Stretcher::Pitch::Any, stop),
                                               voice(Stretcher::Pitch::Any, stop)},
      input_(8 * stretchers_[0].pad() + 2 * framesIn(takeOverFadeMs), stretchers_[0].pad()),
      heard_(BypassVoice::comparedFrames), bypass_(input_, heard_, framesIn(mostLagMs)) {}

StretchVoice TimePitchUnit::voice(Stretcher::Pitch pitch, const std::stop_token& stop) {
    return StretchVoice(input_, heard_, middle_, sampleRateHz_, stop, pitch);
}

std::size_t TimePitchUnit::framesIn(int ms) const noexcept {
    return std::max<std::size_t>(1, std::size_t(sampleRateHz_) * std::size_t(ms) / 1000);
}

void TimePitchUnit::setRate(double rate) noexcept {
    rate_ = std::clamp(std::isnan(rate) ? 1.0 : rate, Stretcher::minRate, Stretcher::maxRate);
}

void TimePitchUnit::setPitch(double cents) noexcept {
    cents_ = std::clamp(std::isnan(cents) ? 0.0 : cents, -Stretcher::maxCents, Stretcher::maxCents);
}

void TimePitchUnit::begin(FrameInput& source) {
    input_.begin(source);
    next_ = nullptr;
    isFading_ = false;
    neutralFor_ = 0;
    if (isNeutral()) {
        bypass_.begin();
        current_ = &bypass_;
    } else {
        current_ = &bypass_;
        StretchVoice& first = spare();
        first.begin(0, rate_, cents_, leadFrames);
        current_ = &first;
    }
}

void TimePitchUnit::replaceFrom(std::int64_t frame) noexcept {
    input_.rewind(frame);
    for (StretchVoice& voice : stretchers_)
        voice.replaceFrom(frame);
    if (next_ && !isFading_ && next_->isOutdated())
        next_ = nullptr; // begins anew
}

std::int64_t TimePitchUnit::framesLeft() const noexcept {
    return std::llround(current_->framesLeft());
}

double TimePitchUnit::position() const noexcept {
    const auto length = static_cast<double>(input_.length());
    return finished() ? length : std::clamp(current_->position(), 0.0, length);
}

std::size_t TimePitchUnit::process(float* stereo, std::size_t frames) {
    if (!next_)
        chooseNext();
    setVoices();
    frames = static_cast<std::size_t>(std::clamp<std::int64_t>(
        framesLeft(), 0, static_cast<std::int64_t>(std::min(frames, Voice::blockFrames))));
    if (next_ && !isFading_)
        lineUp(frames);
    frames = current_->prepare(frames);
    if (isFading_)
        frames = next_->prepare(frames);
    current_->take(stereo, frames);
    neutralFor_ = isNeutral() && !next_ ? neutralFor_ + frames : 0;
    if (isFading_)
        fade(stereo, frames);
    heard_.add(stereo, frames);
    return frames;
}

/// A stretcher that is about to take over sounds like what is heard until it is faded in: at normal
/// speed it follows the waveform. Only what it makes of later frames may have another speed.
void TimePitchUnit::setVoices() {
    const double rate = isNeutral() ? nearlyNormal : rate_;
    current_->set(rate, cents_);
    if (!next_)
        return;
    const auto* stretched = dynamic_cast<StretchVoice*>(next_);
    const bool isLater = stretched && current_ != &bypass_ &&
                         static_cast<double>(stretched->reached()) >= position();
    next_->set(isFading_ || isLater ? rate : current_->rate(),
               isFading_ ? cents_ : current_->cents());
}

/// One that may take over: it begins like the current voice.
StretchVoice& TimePitchUnit::spare() noexcept {
    const bool isNormal = current_->cents() == 0 && cents_ == 0;
    return *std::ranges::find_if(stretchers_, [&](const StretchVoice& voice) {
        return &voice != current_ && (isNormal || voice.canTranspose());
    });
}

void TimePitchUnit::chooseNext() {
    const bool isBypassed = current_ == &bypass_;
    if (isBypassed ? !isNeutral() : current_->isOutdated()) {
        StretchVoice& voice = spare();
        voice.begin(static_cast<std::int64_t>(position()) - settleFrames, current_->rate(),
                    current_->cents());
        next_ = &voice;
        fadeFrames_ = framesIn(takeOverFadeMs);
    } else if (!isBypassed && neutralFor_ >= framesIn(neutralMs) &&
               framesLeft() > static_cast<std::int64_t>(framesIn(returnBeforeEndMs))) {
        next_ = &bypass_;
        fadeFrames_ = framesIn(returnFadeMs);
    }
}

/// Lines the next voice up; once it is, the crossfade begins, unless it would not be complete
/// before the fade at the end of the run. Playback continues meanwhile.
void TimePitchUnit::lineUp(std::size_t frames) {
    const auto correlation =
        next_->lineUp(position(), fadeFrames_ + frames,
                      (catchUpSpeed + next_->rate()) * static_cast<double>(frames));
    const std::size_t least = fadeFrames_ + 2 * Voice::blockFrames + Fade::framesAt(sampleRateHz_);
    if (!correlation ||
        std::min(current_->framesLeft(), next_->framesLeft()) < static_cast<double>(least))
        return;
    isFading_ = true;
    correlation_ = *correlation;
    faded_ = 0;
}

void TimePitchUnit::fade(float* stereo, std::size_t frames) {
    std::array<float, 2 * Voice::blockFrames> beside;
    next_->take(beside.data(), frames);
    crossfade(stereo, beside.data(), frames, faded_, fadeFrames_, correlation_);
    faded_ += frames;
    if (faded_ < fadeFrames_)
        return;
    current_ = std::exchange(next_, nullptr);
    isFading_ = false;
}

} // namespace ambrel
