#include "ui/Picker.h"

#include <QWheelEvent>

#include "ui/Theme.h"

namespace ambrel {

Picker::Picker(const QString& accessibleName, QWidget* parent) : QComboBox(parent) {
    setAccessibleName(accessibleName);
    setFocusPolicy(Qt::TabFocus);
    const auto applyTheme = [this] { setFont(Theme::font(Theme::TextStyle::caption)); };
    connect(&Theme::shared(), &Theme::changed, this, applyTheme);
    applyTheme();
}

void Picker::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QComboBox::wheelEvent(event);
    else
        event->ignore();
}

} // namespace ambrel
