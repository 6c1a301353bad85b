#pragma once

#include <memory>
#include <optional>

#include "platform/desktop/KeyEventMonitor.h"

namespace ambrel {

class AppState;
class AudioEngine;

/// Handles Ctrl with R, L and the arrow keys (stop and rewind, loop, speed, pitch), and the media
/// keys that the desktop leaves to the window, in any window and wherever the focus is. Letters and
/// arrows are identified by position; Shift and Alt are ignored. Arrows repeat while held, the rest
/// does not. All other keys pass on. Main thread only. Owned by AmbrelApp.
class KeyHandler {
  public:
    explicit KeyHandler(std::shared_ptr<AudioEngine> engine);

    /// Applies keys to that state for as long as it lives; replaces an earlier start.
    void start(const std::shared_ptr<AppState>& appState);
    void stop();

  private:
    std::shared_ptr<AudioEngine> engine_;
    std::optional<KeyEventMonitor> monitor_;
};

} // namespace ambrel
