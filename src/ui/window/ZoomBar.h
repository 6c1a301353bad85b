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

/// The row below the waveform: buttons for pan and zoom, and the zoom factor.
class ZoomBar : public QWidget {
    Q_OBJECT

  public:
    /// `navigation` carries out the commands and must outlive the bar.
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
