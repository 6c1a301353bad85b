#pragma once

namespace ambrel {

/// A zoom factor and the pan that goes with it, in points.
struct ZoomAndPan {
    double zoomLevel = 1;
    double panOffset = 0;
};

/// Where a time of the file lies in the view, and the reverse.
///
/// The whole file spans width × zoomLevel points of content; the view shows those from panOffset
/// to panOffset + width. Bears any numbers: what cannot be computed falls back to the file's start.
struct WaveformGeometry {
    static constexpr double minimumZoom = 1;
    static constexpr double maximumZoom = 50;

    double width = 0;    ///< points
    double duration = 1; ///< seconds
    double zoomLevel = 1;
    double panOffset = 0; ///< points

    /// The view's x of a time in seconds; outside 0 to width when the time is out of sight.
    double toX(double time) const;

    /// The time at x, within the file.
    double toTime(double x) const;

    /// The zoom nearest to `zoom` that is allowed, with the content under x staying in its place
    /// as far as the file's ends allow.
    ZoomAndPan zoomedAbout(double x, double zoom) const;

    static double clampedZoom(double zoom);

    /// Keeps the view within the file.
    static double clampedPan(double pan, double width, double zoom);
};

} // namespace ambrel
