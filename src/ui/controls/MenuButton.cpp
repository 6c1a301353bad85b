#include "ui/controls/MenuButton.h"

#include <QAccessibleWidget>
#include <QMenu>

#include "ui/controls/AccessibleFactory.h"

namespace ambrel {
namespace {

class MenuButtonInterface : public QAccessibleWidget {
  public:
    explicit MenuButtonInterface(MenuButton* button)
        : QAccessibleWidget(button, QAccessible::ButtonMenu) {}

    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(button()->menu()) : nullptr;
    }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child->object() == button()->menu() ? 0 : -1;
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = true;
        state.expandable = true;
        state.expanded = button()->menu()->isVisible();
        return state;
    }

    QStringList actionNames() const override {
        return widget()->isEnabled() ? QStringList(showMenuAction()) : QStringList();
    }
    void doAction(const QString& name) override {
        if (widget()->isEnabled() && name == showMenuAction())
            QMetaObject::invokeMethod(button(), &QPushButton::showMenu, Qt::QueuedConnection);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    MenuButton* button() const { return static_cast<MenuButton*>(widget()); }
};

} // namespace

MenuButton::MenuButton(const QString& text, QMenu* menu, QWidget* parent)
    : PushButton(text, Prominence::plain, parent) {
    describeBy<MenuButton, MenuButtonInterface>();
    menu->setParent(this, menu->windowFlags());
    setMenu(menu);
}

} // namespace ambrel
