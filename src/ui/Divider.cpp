#include "ui/Divider.h"

#include <QPainter>

#include "ui/Theme.h"

namespace ambrel {

Divider::Divider(QWidget* parent) : QWidget(parent) {
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Divider::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), Theme::divider(palette()));
}

} // namespace ambrel
