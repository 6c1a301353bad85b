#include "ui/Divider.h"

#include <QPainter>

#include "ui/Theme.h"

namespace ambrel {

Divider::Divider(Qt::Orientation orientation, QWidget* parent) : QWidget(parent) {
    if (orientation == Qt::Horizontal) {
        setFixedHeight(1);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    } else {
        setFixedWidth(1);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    }
}

void Divider::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), Theme::divider(palette()));
}

} // namespace ambrel
