#pragma once

#include <QAccessibleWidget>
#include <QMenu>

namespace ambrel {

/// Describes an `Owner` to screen readers as a control that opens its menu(), and the menu as its
/// only child.
template <typename Owner> class MenuOwnerInterface : public QAccessibleWidget {
  public:
    MenuOwnerInterface(Owner* owner, QAccessible::Role role) : QAccessibleWidget(owner, role) {}

    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(owner()->menu()) : nullptr;
    }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child->object() == owner()->menu() ? 0 : -1;
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = state.expandable = true;
        state.expanded = owner()->menu()->isVisible();
        return state;
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  protected:
    Owner* owner() const { return static_cast<Owner*>(widget()); }
};

} // namespace ambrel
