#include "platform/sound/stretch/TimePitchUnit.h"

#include <algorithm>
#include <cmath>

#include "platform/sound/effect/Crossfade.h"

namespace ambrel {

namespace {

constexpr std::size_t blockFrames = 64;
/// While catching up, a stretcher is fed at this multiple of real time: it is there after 10 ms,
/// which the frames ready for the device cover even on a machine half as fast.
constexpr double catchUpSpeed = 12;
/// Enough earlier input for the stretcher to sound like what is being played.
constexpr std::int64_t settleFrames = 1024;
constexpr int takeOverFadeMs = 5;
/// Length of the fade at the end of a run, which is applied after this unit.
constexpr int endFadeMs = 3;

/// After the return to normal the stretcher stays for a while: it needs time to settle, and the
/// next change may be near.
constexpr int neutralMs = 500;
/// Its rate meanwhile: at exactly 1 the engine pulls its phases to those of the input, band by
/// band, and a tone drops by up to 6 dB on the way.
constexpr double nearlyNormal = 1.0001;
constexpr int leaveFadeMs = 10;
/// The stretcher drifts no further than this.
constexpr int mostLagMs = 3;

std::size_t framesIn(int ms, int sampleRateHz) {
    return std::max<std::size_t>(1, std::size_t(sampleRateHz) * std::size_t(ms) / 1000);
}

} // namespace

TimePitchUnit::TimePitchUnit(int sampleRateHz, const std::stop_token& stop)
    : lines_{StretchLine(sampleRateHz, stop), StretchLine(sampleRateHz, stop)},
      sampleRateHz_(sampleRateHz),
      input_(8 * lines_[0].pad() + 2 * framesIn(takeOverFadeMs, sampleRateHz)),
      edges_(input_, lines_[0].pad()) {}

void TimePitchUnit::setRate(double rate) noexcept {
    rate_ = std::clamp(std::isnan(rate) ? 1.0 : rate, Stretcher::minRate, Stretcher::maxRate);
}

void TimePitchUnit::setPitch(double cents) noexcept {
    cents_ = std::clamp(std::isnan(cents) ? 0.0 : cents, -Stretcher::maxCents, Stretcher::maxCents);
}

void TimePitchUnit::begin(std::int64_t frames) {
    length_ = std::max<std::int64_t>(0, frames);
    input_.begin();
    edges_.begin();
    next_ = 0;
    isOutdated_ = false;
    neutralFor_ = 0;
    mode_ = neutral() ? Mode::direct : Mode::stretching;
    if (mode_ == Mode::stretching)
        line().begin(0, rate_, cents_, StretchLine::leadFrames);
}

void TimePitchUnit::replaceFrom(std::int64_t frame) {
    input_.rewind(frame);
    edges_.rewind(frame);
    if (mode_ == Mode::direct || incoming().next() <= frame)
        return;
    if (mode_ == Mode::joining && !fading_)
        mode_ = Mode::direct;
    else if (mode_ == Mode::switching && !fading_)
        beginSwitching();
    else
        isOutdated_ = true;
}

std::size_t TimePitchUnit::process(FrameInput& source, float* stereo, std::size_t frames) {
    refreshLength(source);
    const std::size_t made = make(source, stereo, std::min(frames, blockFrames));
    refreshLength(source);
    return made;
}

void TimePitchUnit::refreshLength(FrameInput& source) noexcept {
    length_ = source.runEnd().value_or(length_);
}

/// Takes input up to `upTo` or the end of the run, which may move meanwhile; false if there is no
/// more now.
bool TimePitchUnit::pull(FrameInput& source, std::int64_t upTo) noexcept {
    for (;;) {
        const std::int64_t until = std::min(upTo, length_);
        const bool isThere = input_.take(source, until);
        refreshLength(source);
        if (!isThere || until >= std::min(upTo, length_))
            return isThere;
    }
}

std::size_t TimePitchUnit::make(FrameInput& source, float* stereo, std::size_t frames) {
    if (mode_ == Mode::direct && !neutral())
        beginJoining();
    if (mode_ == Mode::stretching && isOutdated_)
        beginSwitching();
    switch (mode_) {
    case Mode::direct:
        return direct(source, stereo, frames);
    case Mode::joining:
    case Mode::switching:
        return takeOver(source, stereo, frames);
    case Mode::leaving:
        return leave(source, stereo, frames);
    case Mode::stretching:
        break;
    }
    setLines();
    const std::size_t count = stretch(source, stereo, frames);
    watchForReturn(stereo, count);
    return count;
}

/// A change of speed leaves enough of the run for its fade-out.
void TimePitchUnit::setLines() {
    const double rate = leading().rateLeaving(framesIn(endFadeMs, sampleRateHz_) + blockFrames,
                                              length_, neutral() ? nearlyNormal : rate_);
    line().set(rate, cents_);
    incoming().set(rate, cents_);
}

std::int64_t TimePitchUnit::framesLeft() const noexcept {
    return isDirect() ? length_ - next_ : std::llround(leading().framesLeft(length_));
}

double TimePitchUnit::position() const noexcept {
    if (isDirect())
        return static_cast<double>(next_);
    const auto length = static_cast<double>(length_);
    return finished() ? length : std::clamp(leading().position(), 0.0, length);
}

std::size_t TimePitchUnit::direct(FrameInput& source, float* stereo, std::size_t frames) noexcept {
    const std::int64_t end = next_ + static_cast<std::int64_t>(frames);
    pull(source, end);
    const std::int64_t wanted = std::min(end, length_);
    const std::int64_t until = std::max(next_, std::min(wanted, input_.taken()));
    const auto count = static_cast<std::size_t>(until - next_);
    input_.copy(next_, stereo, count);
    next_ = until;
    return count;
}

std::size_t TimePitchUnit::stretch(FrameInput& source, float* stereo, std::size_t frames) {
    const std::int64_t left = std::max<std::int64_t>(0, framesLeft());
    return takeFrom(line(), source, stereo,
                    static_cast<std::size_t>(std::min(static_cast<std::int64_t>(frames), left)));
}

/// May go beyond the end of the run.
std::size_t TimePitchUnit::takeFrom(StretchLine& line, FrameInput& source, float* stereo,
                                    std::size_t frames) {
    std::size_t done = 0;
    while (done < frames) {
        const std::size_t count = line.take(stereo + 2 * done, frames - done);
        done += count;
        if (count == 0 && !feed(line, source))
            break;
    }
    return done;
}

bool TimePitchUnit::feed(StretchLine& line, FrameInput& source) {
    std::array<float, 2 * Stretcher::feedFrames> stereo{};
    // What precedes the run is made from how it begins.
    const auto span = static_cast<std::int64_t>(line.next() < 0 ? edges_.span() : 0);
    const auto until = line.next() + static_cast<std::int64_t>(Stretcher::feedFrames);
    if (!pull(source, std::max(until, span)) || length_ <= 0)
        return false;
    edges_.copy(line.next(), length_, stereo.data(), Stretcher::feedFrames);
    line.feed(stereo.data(), length_);
    return true;
}

/// The stretcher first catches up with the input at normal speed, where it follows the waveform;
/// only then is the change applied.
void TimePitchUnit::beginJoining() {
    mode_ = Mode::joining;
    fadeFrames_ = framesIn(takeOverFadeMs, sampleRateHz_);
    fading_ = false;
    isOutdated_ = false;
    line().begin(next_ - settleFrames, 1, 0);
}

void TimePitchUnit::beginSwitching() {
    const auto from = static_cast<std::int64_t>(position()) - settleFrames;
    mode_ = Mode::switching;
    fadeFrames_ = framesIn(takeOverFadeMs, sampleRateHz_);
    fading_ = false;
    isOutdated_ = false;
    incoming().begin(from, rate_, cents_);
}

/// Playback continues while the other stretcher catches up, and is then crossfaded into it.
std::size_t TimePitchUnit::takeOver(FrameInput& source, float* stereo, std::size_t frames) {
    const bool isJoining = mode_ == Mode::joining;
    if (!isJoining)
        setLines();
    catchUp(source, frames);
    if (fading_)
        frames = std::min(frames, incoming().available());
    const double began = position();
    const std::size_t count =
        isJoining ? direct(source, stereo, frames) : stretch(source, stereo, frames);
    if (!fading_ && (!dropTo(began) || incoming().available() < fadeFrames_ + count ||
                     !mayFade(std::min<std::int64_t>(
                         framesLeft(), std::llround(incoming().framesLeft(length_))))))
        return count;
    if (!fading_)
        faded_ = 0;
    fading_ = true;
    // The frames to fade in have been rendered, so the change need not wait any longer.
    setLines();
    std::array<float, 2 * blockFrames> beside{};
    const std::size_t taken = incoming().take(beside.data(), count);
    Crossfade::mix(stereo, beside.data(), taken, faded_, fadeFrames_, 1);
    faded_ += taken;
    if (faded_ >= fadeFrames_)
        endTakeOver();
    return count;
}

/// A crossfade must be complete before the fade at the end of the run.
bool TimePitchUnit::mayFade(std::int64_t framesLeft) const noexcept {
    return framesLeft >= static_cast<std::int64_t>(fadeFrames_ + blockFrames +
                                                   framesIn(endFadeMs, sampleRateHz_));
}

void TimePitchUnit::catchUp(FrameInput& source, std::size_t frames) {
    const double rate = mode_ == Mode::joining ? 1 : rate_;
    const double budget = (catchUpSpeed + rate) * static_cast<double>(frames);
    for (double fed = 0; fading_ || fed < budget; fed += Stretcher::feedFrames) {
        const double ahead = static_cast<double>(incoming().available()) -
                             std::max(0.0, position() - incoming().position()) / rate;
        const double wanted = static_cast<double>((fading_ ? 0 : fadeFrames_) + frames);
        if (ahead >= wanted || !feed(incoming(), source))
            break;
    }
}

/// Discards output that would be heard before `position`; false if the incoming stretcher has not
/// caught up.
bool TimePitchUnit::dropTo(double position) {
    const double rate = mode_ == Mode::joining ? 1 : rate_;
    std::array<float, 2 * blockFrames> old{};
    for (;;) {
        const auto behind = std::llround((position - incoming().position()) / rate);
        if (behind <= 0)
            return true;
        if (incoming().take(old.data(), std::min<std::size_t>(blockFrames, std::size_t(behind))) ==
            0)
            return false;
    }
}

void TimePitchUnit::endTakeOver() noexcept {
    if (mode_ == Mode::switching)
        active_ = 1 - active_;
    mode_ = Mode::stretching;
    neutralFor_ = 0;
}

void TimePitchUnit::watchForReturn(const float* stereo, std::size_t frames) noexcept {
    if (!neutral()) {
        neutralFor_ = 0;
        return;
    }
    recent_.add(stereo, frames);
    neutralFor_ += static_cast<std::int64_t>(frames);
    if (neutralFor_ >= static_cast<std::int64_t>(framesIn(neutralMs, sampleRateHz_)))
        beginLeaving();
}

/// Finds the input frame that continues the last output of the stretcher.
void TimePitchUnit::beginLeaving() noexcept {
    const auto most = static_cast<std::int64_t>(framesIn(mostLagMs, sampleRateHz_));
    const std::int64_t here = std::llround(line().position());
    const auto count = static_cast<std::int64_t>(RecentSound::frames);
    fadeFrames_ = framesIn(leaveFadeMs, sampleRateHz_);
    if (here - count - most < 0 || !mayFade(length_ - here - most) ||
        here + most + 2 * static_cast<std::int64_t>(blockFrames) > input_.taken())
        return; // too near an end: later, or never
    const RecentSound::Match match = recent_.findIn(input_, here, most);
    mode_ = Mode::leaving;
    next_ = match.frame;
    likeness_ = match.likeness;
    faded_ = 0;
}

std::size_t TimePitchUnit::leave(FrameInput& source, float* stereo, std::size_t frames) {
    std::array<float, 2 * blockFrames> beside{};
    const std::size_t count = stretch(source, stereo, frames);
    const std::size_t passed = direct(source, beside.data(), count);
    Crossfade::mix(stereo, beside.data(), passed, faded_, fadeFrames_, likeness_);
    faded_ += passed;
    if (faded_ >= fadeFrames_) {
        mode_ = Mode::direct;
        isOutdated_ = false;
    }
    return count;
}

} // namespace ambrel
