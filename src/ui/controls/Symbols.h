#pragma once

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QRectF>

class QPainter;

namespace ambrel {

/// Our own drawings, stored as SVG files of one colour and painted in the colour of their place.
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

/// Paints `symbol` as large as fits into `box`, sharp at any scale of the screen.
void paintSymbol(QPainter& painter, Symbol symbol, const QRectF& box, const QColor& colour);

/// An icon that takes its colour, faded when disabled, from the application's palette at each
/// painting, so that it follows a change of palette by itself.
QIcon symbolIcon(Symbol symbol, QPalette::ColorRole colour = QPalette::ButtonText);

/// The icon of the application.
QIcon applicationIcon();

} // namespace ambrel
