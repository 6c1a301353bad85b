#pragma once

#include <memory>

#include "app/AppState.h"

class QWidget;

namespace ambrel {

class AudioEngine;
class WaveformNSView;

/// Connects the waveform with the rest: the state flows into the view on every change, and what
/// the view proposes is written back, saved and heard. Main thread only.
class WaveformView {
  public:
    WaveformView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine);

    /// A new view, owned by `parent`; it stays connected for as long as it lives.
    WaveformNSView* makeNSView(QWidget* parent) const;

  private:
    /// Copies into the view the field that changed; all that it does not show is ignored.
    static void updateNSView(WaveformNSView& view, const AppState& state, AppState::Field field);

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
};

} // namespace ambrel
