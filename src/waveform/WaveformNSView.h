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
/// It owns no state of the application: its fields are copies, which whoever owns the state keeps
/// up to date, also between the proposals of one drag. Main thread only; the callbacks run inside
/// the event handlers. Any numbers are borne, also a region that is reversed or not a number.
class WaveformNSView : public QWidget {
    Q_OBJECT

  public:
    static constexpr double handleHitRadius = 8.0;     ///< points
    static constexpr double markerLineWidth = 1.5;     ///< points
    static constexpr double playheadLineWidth = 2.0;   ///< points
    static constexpr double shortestHandleDrag = 0.01; ///< seconds a region keeps at least

    explicit WaveformNSView(QWidget* parent = nullptr);

    /// Peaks from 0 to 1 in time order. Drops a drag that is under way, as does a new duration:
    /// it belongs to the file that was there before.
    void setSamples(std::vector<float> samples);
    void setDuration(double seconds);
    void setRegionStart(double seconds);
    void setRegionEnd(double seconds);
    /// Costs the repainting of two narrow strips while playing and nothing otherwise.
    void setPlaybackPosition(double seconds);
    void setIsPlaying(bool playing); ///< whether the play head is shown
    void setZoomLevel(double zoom);
    void setPanOffset(double points);

    /// Rounds the corners of what is drawn, to fit a backdrop with such corners.
    void setCornerRadius(double points);

    std::function<void(double start, double end)> onRegionChange; ///< proposes a region, seconds
    std::function<void()> onDragEnded;   ///< a press has ended, with or without a drag
    std::function<void()> onResignFocus; ///< asks that the focus leave any text field
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
