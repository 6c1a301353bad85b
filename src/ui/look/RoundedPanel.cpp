#include "ui/look/RoundedPanel.h"

#include <QPainter>

#include "ui/look/Theme.h"

namespace ambrel {

void RoundedPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::panelBackground(palette()));
    const double radius = Theme::length(8);
    painter.drawRoundedRect(rect(), radius, radius);
}

} // namespace ambrel
