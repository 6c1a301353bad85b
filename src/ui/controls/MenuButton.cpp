#include "ui/controls/MenuButton.h"

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

} // namespace ambrel
