#pragma once

#include <memory>
#include <optional>

#include "platform/desktop/KeyEventMonitor.h"

namespace ambrel {

class AppState;
class AudioEngine;

/// Acts on Ctrl with R, L and the four arrows, wherever the focus is and in whichever window: stop
/// and rewind, loop, speed and pitch. The keys are found by their place on the keyboard; Shift and
/// Alt held as well change nothing. The arrows repeat while they are held, R and L act once. Every
/// other key passes on. Main thread only.
class KeyHandler {
  public:
    explicit KeyHandler(std::shared_ptr<AudioEngine> engine);

    /// From here on keys act on that state, for as long as it lives. Ends an earlier start.
    void start(const std::shared_ptr<AppState>& appState);
    void stop();

  private:
    std::shared_ptr<AudioEngine> engine_;
    std::optional<KeyEventMonitor> monitor_;
};

} // namespace ambrel
