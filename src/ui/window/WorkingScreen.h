#pragma once

#include <memory>

#include <QWidget>

namespace ambrel {

class AppState;
class AudioEngine;

/// The screen shown while a file is open: the waveform, and below it the control panels in a column
/// that scrolls if the window is too low.
class WorkingScreen : public QWidget {
    Q_OBJECT

  public:
    WorkingScreen(const std::shared_ptr<AppState>& state,
                  const std::shared_ptr<AudioEngine>& engine, QWidget* parent = nullptr);
};

} // namespace ambrel
