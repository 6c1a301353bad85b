#include "waveform/WaveformGeometry.h"

#include <algorithm>

namespace ambrel {

// The order of the arguments of min and max below sends a value that is not a number to the bound.

double WaveformGeometry::toX(double time) const {
    const double fraction = duration > 0 ? time / duration : 0;
    return fraction * width * zoomLevel - panOffset;
}

double WaveformGeometry::toTime(double x) const {
    const double content = width * zoomLevel;
    if (!(content > 0) || !(duration > 0))
        return 0;
    return std::min(std::max(0.0, (panOffset + x) / content * duration), duration);
}

ZoomAndPan WaveformGeometry::zoomedAbout(double x, double zoom) const {
    const double content = width * zoomLevel;
    const double fraction = content > 0 ? (x + panOffset) / content : 0;
    const double newZoom = clampedZoom(zoom);
    return {newZoom, clampedPan(newZoom * fraction * width - x, width, newZoom)};
}

double WaveformGeometry::clampedZoom(double zoom) {
    return std::min(std::max(minimumZoom, zoom), maximumZoom);
}

double WaveformGeometry::clampedPan(double pan, double width, double zoom) {
    return std::min(std::max(0.0, pan), (zoom - 1) * width);
}

} // namespace ambrel
