#include "ui/controls/MenuButton.h"

#include <QMenu>

#include "ui/controls/MenuOwnerInterface.h"
#include "ui/look/AccessibleFactory.h"

namespace ambrel {
namespace {

class MenuButtonInterface : public MenuOwnerInterface<MenuButton> {
  public:
    explicit MenuButtonInterface(MenuButton* button)
        : MenuOwnerInterface(button, QAccessible::ButtonMenu) {}

    QStringList actionNames() const override {
        return owner()->isEnabled() ? QStringList(showMenuAction()) : QStringList();
    }
    void doAction(const QString& name) override {
        if (owner()->isEnabled() && name == showMenuAction())
            QMetaObject::invokeMethod(owner(), &QPushButton::showMenu, Qt::QueuedConnection);
    }
};

} // namespace

MenuButton::MenuButton(const QString& text, QMenu* menu, QWidget* parent)
    : PushButton(text, Prominence::plain, parent) {
    describeBy<MenuButton, MenuButtonInterface>();
    menu->setParent(this, menu->windowFlags());
    setMenu(menu);
}

/// Screen readers say the selected item, and nothing of a menu without one.
void MenuButton::keyPressEvent(QKeyEvent* event) {
    const auto selectFirst = [menu = menu()] {
        if (menu->isVisible() && !menu->activeAction())
            menu->setActiveAction(menu->actions().value(0));
    };
    QMetaObject::invokeMethod(menu(), selectFirst, Qt::QueuedConnection);
    PushButton::keyPressEvent(event); // the menu may have been closed when this returns
}

} // namespace ambrel
