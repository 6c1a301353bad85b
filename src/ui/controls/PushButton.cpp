#include "ui/controls/PushButton.h"

#include <QPainter>

#include "ui/controls/ButtonFace.h"
#include "ui/look/PlainText.h"
#include "ui/look/Theme.h"

namespace ambrel {

PushButton::PushButton(Prominence prominence, QWidget* parent)
    : QPushButton(parent), prominence_(prominence) {
    setFocusPolicy(Qt::TabFocus);
    setAutoDefault(false);
    if (prominence == Prominence::quiet) {
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }
    Theme::follow(this, &PushButton::applyTheme);
}

PushButton::PushButton(const QString& text, Prominence prominence, QWidget* parent)
    : PushButton(prominence, parent) {
    setText(withoutMnemonics(text));
    setAccessibleName(text);
}

PushButton::PushButton(Symbol symbol, const QString& accessibleName, QWidget* parent)
    : PushButton(Prominence::plain, parent) {
    setIcon(symbolIcon(symbol));
    setAccessibleName(accessibleName);
    setToolTip(accessibleName);
}

void PushButton::setEnabledWithoutPassingFocus(bool enabled) {
    if (!enabled && hasFocus())
        clearFocus();
    setEnabled(enabled);
}

QSize PushButton::sizeHint() const {
    if (prominence_ == Prominence::quiet)
        return fontMetrics().size(Qt::TextSingleLine, text()) +
               QSize(Theme::length(12), Theme::length(6));
    const QSize size = QPushButton::sizeHint();
    if (text().isEmpty()) // as tall as a button with a text, and not wider than it need be
        return QSize(Theme::length(32), std::max(size.height(), Theme::length(24)));
    if (prominence_ == Prominence::large || prominence_ == Prominence::prominent)
        return QSize(std::max(size.width() + Theme::length(28), Theme::length(190)),
                     Theme::length(36));
    const int padding = Theme::length(prominence_ == Prominence::filled ? 24 : 12);
    return QSize(std::max(size.width() + padding, Theme::length(32)),
                 std::max(size.height(), Theme::length(24)));
}

void PushButton::applyTheme() {
    const int edge = Theme::length(12);
    setIconSize(QSize(edge, edge));
    setFont(Theme::font(prominence_ == Prominence::quiet ? Theme::TextStyle::caption
                                                         : Theme::TextStyle::body));
    updateGeometry();
}

void PushButton::paintEvent(QPaintEvent* event) {
    if (prominence_ == Prominence::quiet)
        paintQuiet();
    else if (prominence_ == Prominence::filled || prominence_ == Prominence::prominent)
        paintFilled();
    else
        QPushButton::paintEvent(event);
}

void PushButton::paintQuiet() {
    QPainter painter(this);
    paintButtonFace(painter, *this, Theme::length(4));
    painter.setPen(Theme::textColour(palette(), Theme::TextColour::secondary));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
}

/// Styles shade tinted buttons so strongly, each in its own way, that the text is hard to read.
void PushButton::paintFilled() {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = Theme::length(6);
    const QColor accent = isEnabled() ? Theme::accentFace(palette()) : Theme::divider(palette());
    const QColor onAccent = isEnabled()
                                ? palette().color(QPalette::Active, QPalette::HighlightedText)
                                : palette().color(QPalette::ButtonText);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? accent.darker(120) : underMouse() ? accent.lighter(108) : accent);
    painter.drawRoundedRect(rect(), radius, radius);
    painter.setPen(QPen(onAccent, 2));
    painter.setBrush(Qt::NoBrush);
    if (hasFocus())
        painter.drawRoundedRect(QRectF(rect()).adjusted(3, 3, -3, -3), radius - 2, radius - 2);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
}

} // namespace ambrel
