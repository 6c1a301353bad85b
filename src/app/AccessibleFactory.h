#pragma once

#include <QAccessibleWidget>

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

/// From here on every `Widget` has that role, and is otherwise described as other widgets are.
template <typename Widget, QAccessible::Role kRole> void describeAs() {
    struct Interface : QAccessibleWidget {
        explicit Interface(Widget* widget) : QAccessibleWidget(widget, kRole) {}
    };
    describeBy<Widget, Interface>();
}

} // namespace ambrel
