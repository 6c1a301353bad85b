#pragma once

#include <QAccessibleWidget>

namespace ambrel {

/// Makes an `Interface` describe every `Widget` to screen readers. Call it in the widget's
/// constructor, before anyone can ask.
template <typename Widget, typename Interface> void describeBy() {
    static const bool installed = [] {
        QAccessible::installFactory(
            [](const QString& className, QObject* object) -> QAccessibleInterface* {
                // Called for every class of the object, up to QObject.
                auto* widget = qobject_cast<Widget*>(object);
                if (!widget || className != QLatin1String(Widget::staticMetaObject.className()))
                    return nullptr;
                return new Interface(widget);
            });
        return true;
    }();
    Q_UNUSED(installed)
}

/// Gives every `Widget` this role; the rest of its description stays Qt's.
template <typename Widget, QAccessible::Role kRole> void describeAs() {
    struct Interface : QAccessibleWidget {
        explicit Interface(Widget* widget) : QAccessibleWidget(widget, kRole) {}
    };
    describeBy<Widget, Interface>();
}

} // namespace ambrel
