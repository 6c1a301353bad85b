#pragma once

#include <memory>

namespace ambrel {

class AppState;

/// The steps of zoom and pan that the zoom bar offers. Main thread only.
///
/// Zooming keeps the region's start at 5 % of the width from the left edge, as far as the file's
/// ends allow. Every step assigns the zoom first and the pan second.
class ZoomNavigation {
  public:
    explicit ZoomNavigation(std::shared_ptr<AppState> state);

    /// Width of the area that shows the waveform, in points; 600 until it has been measured.
    double waveformViewWidth() const { return waveformViewWidth_; }

    /// Takes the measured width. A view that has shrunk does not stay scrolled beyond the file's
    /// end.
    void setWaveformViewWidth(double points);

    void zoomIn();  ///< to twice the zoom, at most 50
    void zoomOut(); ///< to half the zoom, at least 1
    void fitTrack();
    /// The region fills 90 % of the width, unless that needs more than a zoom of 50. Nothing
    /// happens when the region or the file is empty.
    void fitRegion();
    void panLeft();  ///< by half the width
    void panRight(); ///< by half the width

  private:
    void showRegionStart(double zoom);

    std::shared_ptr<AppState> state_;
    double waveformViewWidth_ = 600;
};

} // namespace ambrel
