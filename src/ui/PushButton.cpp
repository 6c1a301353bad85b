#include "ui/PushButton.h"

#include <QApplication>
#include <QEvent>

#include "ui/Theme.h"

namespace ambrel {

PushButton::PushButton(Prominence prominence, QWidget* parent)
    : QPushButton(parent), prominence_(prominence) {
    setFocusPolicy(Qt::TabFocus);
    setAutoDefault(false);
    connect(&Theme::shared(), &Theme::changed, this, &PushButton::applyTheme);
    applyTheme();
}

PushButton::PushButton(const QString& text, Prominence prominence, QWidget* parent)
    : PushButton(prominence, parent) {
    setText(Theme::withoutMnemonics(text));
    setAccessibleName(text);
}

PushButton::PushButton(Symbol symbol, const QString& accessibleName, QWidget* parent)
    : PushButton(Prominence::plain, parent) {
    setIcon(symbolIcon(symbol));
    setAccessibleName(accessibleName);
    setToolTip(accessibleName);
}

QSize PushButton::sizeHint() const {
    QSize size = QPushButton::sizeHint();
    if (text().isEmpty()) // as tall as a button with a text, and not wider than it need be
        return QSize(Theme::length(32), std::max(size.height(), Theme::length(24)));
    if (prominence_ != Prominence::plain)
        return QSize(std::max(size.width() + Theme::length(28), Theme::length(190)),
                     Theme::length(36));
    return QSize(std::max(size.width(), Theme::length(32)),
                 std::max(size.height(), Theme::length(24)));
}

void PushButton::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyAccent();
}

void PushButton::applyTheme() {
    const int edge = Theme::length(12);
    setIconSize(QSize(edge, edge));
    setFont(Theme::font(Theme::TextStyle::body));
    applyAccent();
    updateGeometry();
}

void PushButton::applyAccent() {
    if (prominence_ != Prominence::prominent || applyingAccent_)
        return;
    applyingAccent_ = true;
    const QPalette surrounding =
        parentWidget() ? parentWidget()->palette() : QApplication::palette();
    QPalette own;
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        own.setColor(group, QPalette::Button, Theme::accent(surrounding));
        own.setColor(group, QPalette::ButtonText,
                     surrounding.color(QPalette::Active, QPalette::HighlightedText));
    }
    setPalette(own);
    applyingAccent_ = false;
}

} // namespace ambrel
