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

/// Null for every other key.
Command commandFor(const QKeyEvent& event) {
    if (!event.modifiers().testFlag(Qt::ControlModifier))
        return nullptr;
    const auto key = keyCodeOf(event);
    if (!key)
        return nullptr;
    const Command nothing = [](AppState&, AudioEngine&) {};
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
