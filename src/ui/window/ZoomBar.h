#pragma once

#include <functional>
#include <memory>

#include <QWidget>

namespace ambrel {

class AppState;
class ControlRow;
class PushButton;
class TextLabel;
class ZoomNavigation;

/// The row below the waveform: buttons to pan and to zoom, and the zoom as a number.
class ZoomBar : public QWidget {
    Q_OBJECT

  public:
    /// `navigation` carries out what the buttons say and must live longer than the bar.
    ZoomBar(std::shared_ptr<AppState> state, ZoomNavigation& navigation, QWidget* parent = nullptr);

  private:
    void addButton(ControlRow& row, PushButton* button, std::function<void()> action);
    void applyTheme();
    void showState();

    std::shared_ptr<AppState> state_;
    ZoomNavigation& navigation_;
    PushButton* panLeft_;
    PushButton* panRight_;
    TextLabel* zoomText_;
    PushButton* zoomOut_;
    PushButton* zoomIn_;
    PushButton* fitTrack_;
    PushButton* fitRegion_;
};

} // namespace ambrel
