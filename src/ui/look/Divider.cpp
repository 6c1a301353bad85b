#include "ui/look/Divider.h"

#include <cmath>

#include <QPainter>

#include "ui/look/Theme.h"

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

double Divider::thickness(const QWidget& widget) {
    return std::floor(widget.devicePixelRatioF()) / widget.devicePixelRatioF();
}

void Divider::paintEvent(QPaintEvent*) {
    const double across = thickness(*this);
    const QSizeF size =
        orientation_ == Qt::Horizontal ? QSizeF(width(), across) : QSizeF(across, height());
    QPainter(this).fillRect(QRectF(QPointF(), size), Theme::divider(palette()));
}

} // namespace ambrel
