#include "ui/look/TextLabel.h"

#include <QPainter>

namespace ambrel {

TextLabel::TextLabel(Theme::TextStyle style, Theme::TextColour colour, QWidget* parent)
    : TextLabel(QString(), style, colour, parent) {}

TextLabel::TextLabel(const QString& text, Theme::TextStyle style, Theme::TextColour colour,
                     QWidget* parent)
    : QLabel(parent), style_(style), colour_(colour) {
    setTextFormat(Qt::PlainText);
    setText(text);
    Theme::follow(this, &TextLabel::applyTheme);
}

void TextLabel::setColour(Theme::TextColour colour) {
    colour_ = colour;
    update();
}

void TextLabel::setBold(bool bold) {
    bold_ = bold;
    applyTheme();
}

void TextLabel::setMonospaced(bool monospaced) {
    monospaced_ = monospaced;
    applyTheme();
}

void TextLabel::setElideMode(Qt::TextElideMode mode) {
    elideMode_ = mode;
    updateGeometry();
    update();
}

void TextLabel::applyTheme() {
    QFont font = monospaced_ ? Theme::monospacedFont(style_) : Theme::font(style_);
    font.setBold(font.bold() || bold_);
    setFont(font);
    update();
}

QSize TextLabel::minimumSizeHint() const {
    QSize size = QLabel::minimumSizeHint();
    if (elideMode_ != Qt::ElideNone)
        size.setWidth(std::min(size.width(), fontMetrics().averageCharWidth() * 8));
    return size;
}

void TextLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(Theme::textColour(palette(), colour_));
    if (wordWrap()) {
        painter.drawText(contentsRect(), int(alignment()) | Qt::TextWordWrap, text());
        return;
    }
    QString line = text();
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    if (elideMode_ != Qt::ElideNone)
        line = fontMetrics().elidedText(line, elideMode_, contentsRect().width());
    painter.drawText(contentsRect(), int(alignment()) | Qt::TextSingleLine, line);
}

} // namespace ambrel
