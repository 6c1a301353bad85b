#include "ui/controls/QuietButton.h"

#include <QPainter>

#include "ui/controls/ButtonFace.h"
#include "ui/controls/Theme.h"

namespace ambrel {

QuietButton::QuietButton(const QString& text, QWidget* parent) : QAbstractButton(parent) {
    setText(text);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&Theme::shared(), &Theme::changed, this, &QuietButton::applyTheme);
    applyTheme();
}

QSize QuietButton::sizeHint() const {
    return fontMetrics().size(Qt::TextSingleLine, text()) +
           QSize(Theme::length(12), Theme::length(6));
}

void QuietButton::applyTheme() {
    setFont(Theme::font(Theme::TextStyle::caption));
    updateGeometry();
}

void QuietButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintButtonFace(painter, *this, Theme::length(4));
    painter.setPen(Theme::textColour(palette(), Theme::TextColour::secondary));
    painter.drawText(rect(), Qt::AlignCenter, text());
}

} // namespace ambrel
