#pragma once

#include <memory>

#include <QWidget>

class QBoxLayout;
class QScrollArea;

namespace ambrel {

class AppState;
class AudioEngine;

/// What the window shows while a file is open: its waveform, and below it the panels that play and
/// change it, in a column that scrolls when the window is too low.
class WorkingScreen : public QWidget {
    Q_OBJECT

  public:
    WorkingScreen(const std::shared_ptr<AppState>& state,
                  const std::shared_ptr<AudioEngine>& engine, QWidget* parent = nullptr);

  private:
    void applyTheme();

    QBoxLayout* panels_;
    QScrollArea* scroller_;
};

} // namespace ambrel
