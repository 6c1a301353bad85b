#include "ui/panels/GainLabel.h"

#include <cmath>

namespace ambrel {
namespace {

/// Halves go away from zero.
QString gainText(double gain) {
    const double snapped = std::round(2 * gain) / 2 + 0.0;
    return QString::number(snapped, 'f', snapped == std::trunc(snapped) ? 0 : 1);
}

} // namespace

GainLabel::GainLabel(QWidget* parent) : TextLabel(Theme::TextStyle::caption2) {
    setParent(parent);
    setMonospaced(true);
    setAlignment(Qt::AlignCenter);
    setElideMode(Qt::ElideRight);
    setCursor(Qt::ArrowCursor);
    // As wide as the longest possible gain, so that nothing moves when it changes.
    Theme::follow(this, [this] {
        setFixedWidth(QFontMetrics(Theme::monospacedFont(Theme::TextStyle::caption2))
                          .horizontalAdvance(QStringLiteral("-12.5 ")));
    });
}

void GainLabel::showGain(double gain) {
    setText(gainText(gain));
    setColour(gain == 0 ? Theme::TextColour::secondary : Theme::TextColour::accent);
}

void GainLabel::mouseDoubleClickEvent(QMouseEvent*) {
    Q_EMIT zeroRequested();
}

} // namespace ambrel
