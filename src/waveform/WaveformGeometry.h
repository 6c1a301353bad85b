#pragma once

namespace ambrel {

/// A zoom factor and the matching pan, in points.
struct ZoomAndPan {
    double zoomLevel = 1;
    double panOffset = 0;
};

/// Converts between times in the file and x positions in the view.
///
/// The whole file spans width × zoomLevel points; the view shows those from panOffset to panOffset
/// + width. Accepts any numbers: where the result is undefined, the file's start is used.
struct WaveformGeometry {
    static constexpr double minimumZoom = 1;
    static constexpr double maximumZoom = 50;

    double width = 0;    ///< points
    double duration = 1; ///< seconds
    double zoomLevel = 1;
    double panOffset = 0; ///< points

    /// The x position of a time in seconds; outside 0 to width if it is not visible.
    double toX(double time) const;

    /// The time at x, limited to the file.
    double toTime(double x) const;

    /// The allowed zoom nearest to `zoom`, and the pan that keeps the content under x in place, as
    /// far as the ends of the file allow.
    ZoomAndPan zoomedAbout(double x, double zoom) const;

    static double clampedZoom(double zoom);

    /// Limits the pan so that the view stays within the file.
    static double clampedPan(double pan, double width, double zoom);
};

} // namespace ambrel
