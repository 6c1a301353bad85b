#pragma once

#include <QColor>

#include "waveform/WaveformGeometry.h"
#include "waveform/WaveformLevels.h"

class QPainter;
class QRect;

namespace ambrel {

/// Draws the peaks as bars centred on the view's middle line, those within the region in a colour
/// of their own.
///
/// Each bar is content width ÷ count wide, less a gap of half a point, but never less than a
/// point, so that in a small view neighbours overlap and shine through one another. They are
/// blended here, column by column of device pixels, because a painter takes a path fill for each
/// of the thousands of bars; the result is that of filling them one after the other.
struct WaveformBars {
    const WaveformLevels& peaks;
    WaveformGeometry geometry;
    double height = 0;      ///< points; the height of a bar of value 1
    double regionStart = 0; ///< seconds
    double regionEnd = 0;   ///< seconds
    QColor inRegion;
    QColor outside;

    /// Draws what lies between the left and the right edge of `area`. The painter's transformation
    /// may scale and move, nothing else.
    void draw(QPainter& painter, const QRect& area) const;
};

} // namespace ambrel
