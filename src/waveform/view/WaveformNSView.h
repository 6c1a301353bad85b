#pragma once

#include <functional>
#include <variant>
#include <vector>

#include <QWidget>

#include "waveform/WaveformGeometry.h"
#include "waveform/WaveformLevels.h"

class QNativeGestureEvent;

namespace ambrel {

/// Draws the waveform with the region's markers and the play head, and turns drags, horizontal
/// scrolling, pinches and Ctrl + wheel into proposals for a new region, zoom or pan.
///
/// It owns no application state: its fields are copies that the owner of the state keeps up to
/// date, also during a drag. Accepts any numbers, including a reversed region or NaN. Main thread
/// only; callbacks run inside the event handlers.
class WaveformNSView : public QWidget {
    Q_OBJECT

  public:
    static constexpr double handleHitRadius = 8.0;   ///< points
    static constexpr double markerLineWidth = 1.5;   ///< points
    static constexpr double playheadLineWidth = 2.0; ///< points
    static constexpr double shortestHandleDrag =
        0.01; ///< seconds; shortest region left by dragging a marker

    explicit WaveformNSView(QWidget* parent = nullptr);

    /// Peaks from 0 to 1 in time order. Cancels a drag, as a new duration does, since the drag
    /// belongs to the previous file.
    void setSamples(std::vector<float> samples);
    void setDuration(double seconds);
    void setRegionStart(double seconds);
    void setRegionEnd(double seconds);
    /// Repaints two narrow strips while playing, otherwise nothing. A play head that is shown moves
    /// once it is a quarter of a pixel away.
    void setPlaybackPosition(double seconds);
    void setIsPlaying(bool playing); ///< whether the play head is shown
    void setZoomLevel(double zoom);
    void setPanOffset(double points);

    /// Corner radius of the drawing, to match a rounded background.
    void setCornerRadius(double points);

    std::function<void(double start, double end)> onRegionChange; ///< proposed region, in seconds
    std::function<void()> onDragEnded;   ///< a press has ended, with or without a drag
    std::function<void()> onResignFocus; ///< text fields should give up the focus
    std::function<void(double zoom, double pan)> onZoomChange;

  protected:
    bool event(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    struct None {};
    struct StartHandle {};
    struct EndHandle {};
    struct NewRegion {
        double anchor; ///< x of the press, in points of the view
    };
    using DragMode = std::variant<None, StartHandle, EndHandle, NewRegion>;

    WaveformGeometry geometry() const;
    bool isDragging() const { return !std::holds_alternative<None>(dragMode_); }
    void endDrag();
    bool handlePinch(const QNativeGestureEvent& event);
    void proposeZoom(double x, double zoom);
    void assign(double& field, double value);
    void updatePlayhead();
    void updateDescription();

    WaveformLevels samples_;
    double duration_ = 1;
    double regionStart_ = 0;
    double regionEnd_ = 1;
    double playbackPosition_ = 0;
    bool isPlaying_ = false;
    double zoomLevel_ = 1;
    double panOffset_ = 0;
    double cornerRadius_ = 0;
    DragMode dragMode_;
};

} // namespace ambrel
