#pragma once

#include <QColor>

#include "waveform/WaveformGeometry.h"
#include "waveform/WaveformLevels.h"

class QPainter;
class QRect;

namespace ambrel {

/// Draws the peaks as bars centred vertically in the view, those within the region in another
/// colour.
///
/// Each bar is content width ÷ count wide, minus a gap of half a point, but at least a point, so
/// that in a small view neighbours overlap and are blended. The blending is done here, per column
/// of device pixels, as if each bar were filled in turn, because QPainter is too slow for thousands
/// of path fills.
struct WaveformBars {
    const WaveformLevels& peaks;
    WaveformGeometry geometry;
    double height = 0;      ///< points; height of a bar of value 1
    double regionStart = 0; ///< seconds
    double regionEnd = 0;   ///< seconds
    QColor inRegion;
    QColor outside;

    /// Draws between the left and right edge of `area`. The painter's transformation may only scale
    /// and translate.
    void draw(QPainter& painter, const QRect& area) const;
};

} // namespace ambrel
