#include "ui/Divider.h"

#include <cmath>

#include <QPainter>

#include "ui/Theme.h"

namespace ambrel {

Divider::Divider(Qt::Orientation orientation, QWidget* parent)
    : QWidget(parent), orientation_(orientation) {
    if (orientation == Qt::Horizontal) {
        setFixedHeight(1);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    } else {
        setFixedWidth(1);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    }
}

/// A point can be one or two pixels at a scale between, by where it lies: the line is as many
/// pixels as a point has whole ones, wherever it is.
void Divider::paintEvent(QPaintEvent*) {
    const double thickness = std::floor(devicePixelRatioF()) / devicePixelRatioF();
    const QSizeF size =
        orientation_ == Qt::Horizontal ? QSizeF(width(), thickness) : QSizeF(thickness, height());
    QPainter(this).fillRect(QRectF(QPointF(), size), Theme::divider(palette()));
}

} // namespace ambrel
