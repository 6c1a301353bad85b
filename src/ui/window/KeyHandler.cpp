#include "ui/window/KeyHandler.h"

#include <utility>

#include <QKeyEvent>

#include "app/AppState.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "platform/desktop/KeyCode.h"

namespace ambrel {
namespace {

using Command = void (*)(AppState&, AudioEngine&);

constexpr Command nothing = [](AppState&, AudioEngine&) {};

void pauseIfPlaying(AppState& state, AudioEngine& engine) {
    if (state.isPlaying())
        transport::pause(state, engine);
}

/// Of a keyboard's own keys for playing, where the desktop does not take them. Null for other keys.
Command mediaCommandFor(const QKeyEvent& event) {
    switch (event.key()) {
    case Qt::Key_MediaPlay: // has no other key beside it to pause
    case Qt::Key_MediaTogglePlayPause:
        return event.isAutoRepeat() ? nothing : transport::togglePlayPause;
    case Qt::Key_MediaPause:
        return pauseIfPlaying;
    case Qt::Key_MediaStop:
        return transport::stopAndRewind;
    default:
        return nullptr;
    }
}

/// Null for every other key.
Command commandFor(const QKeyEvent& event) {
    if (const Command command = mediaCommandFor(event))
        return command;
    if (!event.modifiers().testFlag(Qt::ControlModifier))
        return nullptr;
    const auto key = keyCodeOf(event);
    if (!key)
        return nullptr;
    switch (*key) {
    case KeyCode::r:
        return event.isAutoRepeat() ? nothing : transport::stopAndRewind;
    case KeyCode::l:
        return event.isAutoRepeat() ? nothing : transport::toggleLoop;
    case KeyCode::leftArrow:
        return transport::decreaseSpeed;
    case KeyCode::rightArrow:
        return transport::increaseSpeed;
    case KeyCode::downArrow:
        return transport::pitchDown;
    case KeyCode::upArrow:
        return transport::pitchUp;
    case KeyCode::space:
        return nullptr;
    }
    return nullptr;
}

} // namespace

KeyHandler::KeyHandler(std::shared_ptr<AudioEngine> engine) : engine_(std::move(engine)) {}

void KeyHandler::start(const std::shared_ptr<AppState>& appState) {
    stop();
    monitor_.emplace([engine = engine_, weakState = std::weak_ptr(appState)](
                         const QKeyEvent& event) -> std::function<void()> {
        const auto state = weakState.lock();
        const Command command = commandFor(event);
        if (!state || !command)
            return {};
        return [engine, state, command] { command(*state, *engine); };
    });
}

void KeyHandler::stop() {
    monitor_.reset();
}

} // namespace ambrel
