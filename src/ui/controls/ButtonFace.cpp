#include "ui/controls/ButtonFace.h"

#include <QAbstractButton>
#include <QPainter>
#include <QStyle>

#include "ui/look/Theme.h"

namespace ambrel {

void paintButtonFace(QPainter& painter, const QAbstractButton& button, double radius) {
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(button.rect()).adjusted(1, 1, -1, -1);
    if (button.isEnabled() && (button.isDown() || button.underMouse())) {
        QColor shade = button.palette().color(QPalette::WindowText);
        shade.setAlphaF(button.isDown() ? 0.16F : 0.08F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(shade);
        painter.drawRoundedRect(face, radius, radius);
    }
    if (button.hasFocus()) {
        painter.setPen(QPen(Theme::accent(button.palette()), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(face, radius, radius);
    }
}

void makeRepeating(QAbstractButton& button) {
    const QStyle* style = button.style();
    button.setAutoRepeat(true);
    button.setAutoRepeatDelay(style->styleHint(QStyle::SH_SpinBox_ClickAutoRepeatThreshold));
    button.setAutoRepeatInterval(style->styleHint(QStyle::SH_SpinBox_ClickAutoRepeatRate));
}

} // namespace ambrel
