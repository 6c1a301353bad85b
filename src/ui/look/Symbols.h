#pragma once

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QRectF>

class QPainter;

namespace ambrel {

/// Ambrel's own symbols: SVG files of a single colour, painted in the colour of the context.
enum class Symbol {
    play,
    pause,
    chevronLeft,
    chevronRight,
    waveform,
    musicNote,
    minus,
    plus,
    chevronUp,
    chevronDown,
    question,
    gearshape,
    heart
};

/// Paints `symbol` as large as fits into `box`, sharp at any screen scale.
void paintSymbol(QPainter& painter, Symbol symbol, const QRectF& box, const QColor& colour);

/// An icon that takes its colour (faded when disabled) from the application's palette on each
/// painting, so that it follows palette changes.
QIcon symbolIcon(Symbol symbol, QPalette::ColorRole colour = QPalette::ButtonText);

/// The application's icon.
QIcon applicationIcon();

} // namespace ambrel
