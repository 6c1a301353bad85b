#pragma once

#include <memory>

class QWidget;

namespace ambrel {

class AppState;
class AudioEngine;
class WaveformNSView;

/// Connects the waveform view to state and engine: changes of the state update the view; its
/// proposals are stored, saved and played. Main thread only.
class WaveformView {
  public:
    WaveformView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine);

    /// Creates a view owned by `parent`; it stays connected for its lifetime.
    WaveformNSView* makeNSView(QWidget* parent) const;

  private:
    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
};

} // namespace ambrel
