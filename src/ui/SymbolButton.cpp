#include "ui/SymbolButton.h"

#include <QEvent>
#include <QPainter>

#include "ui/Theme.h"

namespace ambrel {

SymbolButton::SymbolButton(double edge, double symbolSize, QWidget* parent)
    : QAbstractButton(parent), edge_(edge), symbolSize_(symbolSize) {
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&Theme::shared(), &Theme::changed, this, &SymbolButton::updateGeometry);
}

void SymbolButton::setSymbol(Symbol symbol, const QString& name) {
    symbol_ = symbol;
    setAccessibleName(name);
    setToolTip(name);
    update();
}

QSize SymbolButton::sizeHint() const {
    const int edge = Theme::length(edge_);
    return {edge, edge};
}

bool SymbolButton::event(QEvent* event) {
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave)
        update();
    return QAbstractButton::event(event);
}

void SymbolButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = Theme::length(8);
    QColor colour = palette().color(QPalette::WindowText);

    if (isEnabled() && (isDown() || underMouse())) {
        QColor shade = colour;
        shade.setAlphaF(isDown() ? 0.16F : 0.08F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(shade);
        painter.drawRoundedRect(rect(), radius, radius);
    }
    if (hasFocus()) {
        painter.setPen(QPen(Theme::accent(palette()), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius, radius);
    }
    const double size = Theme::length(symbolSize_);
    const QRectF box((width() - size) / 2, (height() - size) / 2, size, size);
    paintSymbol(painter, symbol_, box, colour);
}

} // namespace ambrel
