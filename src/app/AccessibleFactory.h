#pragma once

#include <QAccessible>

namespace ambrel {

/// From here on screen readers are told of every `Widget` what an `Interface` made for it says.
/// Call it in the widget's constructor, before anybody can ask.
template <typename Widget, typename Interface> void describeBy() {
    static const bool installed = [] {
        QAccessible::installFactory(
            [](const QString& className, QObject* object) -> QAccessibleInterface* {
                // Asked for every class above the object's own as well, down to QObject.
                auto* widget = qobject_cast<Widget*>(object);
                if (!widget || className != QLatin1String(Widget::staticMetaObject.className()))
                    return nullptr;
                return new Interface(widget);
            });
        return true;
    }();
    Q_UNUSED(installed)
}

} // namespace ambrel
