#include "app/main/MediaSession.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <QCoreApplication>
#include <QFileInfo>

#include "app/TimeText.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"

namespace ambrel {
namespace {

using Playback = MprisPlayer::Playback;

/// Playback moves on by less than this from one position to the next, in seconds.
constexpr double kLongestStep = 1;

std::int64_t microseconds(double seconds) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max() / 1000;
    return 1000 * std::min(wholeMilliseconds(seconds), largest);
}

/// In percent, as it would be typed: 100 × 0.29 is less than 29 in floating point.
double speedOf(double rate) {
    return std::round(rate * 1e6) / 1e4;
}

QString titleOf(const QUrl& file) {
    const QString name = QFileInfo(file.fileName()).completeBaseName();
    return name.isEmpty() ? file.fileName() : name;
}

} // namespace

MediaSession::MediaSession(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                           std::function<void()> raise)
    : state_(std::move(state)), engine_(std::move(engine)),
      screen_(QStringLiteral("Playing a recording")), player_(program(std::move(raise))) {
    using Field = AppState::Field;
    state_->observe(this,
                    {Field::loadingState, Field::audioFileURL, Field::audioDuration,
                     Field::regionStart, Field::regionEnd, Field::isPlaying, Field::speed,
                     Field::loopEnabled},
                    [this] { updateLater(); });
    state_->observe(this, {Field::playbackPosition}, [this] { followPosition(); });
}

MprisPlayer::Program MediaSession::program(std::function<void()> raise) {
    const auto command = [this](void (*action)(AppState&, AudioEngine&)) {
        return [this, action] { action(*state_, *engine_); };
    };
    return {
        .state = [this] { return shownState(); },
        .position = [this] { return microseconds(state_->playbackPosition()); },
        .lowestRate = transport::lowestSpeed / 100,
        .highestRate = transport::highestSpeed / 100,
        .setRate = [this](double rate) { transport::setSpeed(*state_, *engine_, speedOf(rate)); },
        .toggleLoop = command(transport::toggleLoop),
        .play = command(transport::start),
        .pause = command(transport::pause),
        .stop = command(transport::stopAndRewind),
        .raise = std::move(raise),
        .quit = [] { QCoreApplication::exit(0); }}; // as the menu does
}

/// Paused is what played last and has not been rewound since.
Playback MediaSession::playback() const {
    if (!state_->loadingState().isLoaded())
        return Playback::stopped;
    if (state_->isPlaying())
        return Playback::playing;
    const bool isRewound = state_->playbackPosition() == state_->regionStart();
    return playback_ == Playback::stopped || isRewound ? Playback::stopped : Playback::paused;
}

MprisPlayer::State MediaSession::shownState() {
    playback_ = playback();
    if (!state_->loadingState().isLoaded() || !state_->audioFileURL())
        return {};
    const QUrl& file = *state_->audioFileURL();
    return {.file = file,
            .title = titleOf(file),
            .microseconds = microseconds(state_->audioDuration()),
            .canPlay = state_->regionStart() < state_->regionEnd(),
            .playback = playback_,
            .rate = state_->speed() / 100,
            .loops = state_->loopEnabled()};
}

/// Once for all that one command changes.
void MediaSession::updateLater() {
    if (!std::exchange(isDue_, true))
        QMetaObject::invokeMethod(this, &MediaSession::update, Qt::QueuedConnection);
}

void MediaSession::update() {
    isDue_ = false;
    player_.update();
    if (std::exchange(hasJumped_, false))
        player_.tellPosition();
    screen_.setActive(playback_ == Playback::playing);
}

void MediaSession::followPosition() {
    const double step =
        state_->playbackPosition() - std::exchange(position_, state_->playbackPosition());
    const bool hasMovedOn = state_->isPlaying() && step >= 0 && step < kLongestStep;
    if (step == 0 || hasMovedOn)
        return;
    hasJumped_ = true;
    updateLater();
}

} // namespace ambrel
