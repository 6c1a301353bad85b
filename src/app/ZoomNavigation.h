#pragma once

#include <memory>

namespace ambrel {

class AppState;

/// The zoom and pan commands of the zoom bar. Main thread only.
///
/// Zooming keeps the region's start at 5 % of the width from the left edge, as far as the ends of
/// the file allow. The zoom is always assigned before the pan.
class ZoomNavigation {
  public:
    explicit ZoomNavigation(std::shared_ptr<AppState> state);

    /// Sets the measured width of the waveform, and limits the pan to the file.
    void setWaveformViewWidth(double points);

    void zoomIn();  ///< to twice the zoom, at most 50
    void zoomOut(); ///< to half the zoom, at least 1
    void fitTrack();
    /// Makes the region fill 90 % of the width, with a zoom of at most 50. No effect if the region
    /// or the file is empty.
    void fitRegion();
    void panLeft();  ///< by half the width
    void panRight(); ///< by half the width

  private:
    void showRegionStart(double zoom);

    std::shared_ptr<AppState> state_;
    double waveformViewWidth_ = 600; ///< points, until it has been measured
};

} // namespace ambrel
