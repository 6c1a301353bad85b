#include "ui/controls/DescribedMenu.h"

#include <QAccessibleActionInterface>
#include <QAccessibleWidget>
#include <QAction>
#include <QHash>
#include <QMenuBar>
#include <QPointer>

#include "ui/look/AccessibleFactory.h"

namespace ambrel {
namespace {

/// One item, as a screen reader sees it.
class ItemInterface : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    ItemInterface(DescribedMenu* menu, QAction* action) : menu_(menu), action_(action) {}

    bool isValid() const override { return menu_ && action_; }
    QObject* object() const override { return action_; }
    QWindow* window() const override { return parent()->window(); }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(menu_);
    }
    QAccessibleInterface* child(int) const override {
        return QAccessible::queryAccessibleInterface(action_->menu());
    }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return action_->menu() ? 1 : 0; }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child->object() == action_->menu() ? 0 : -1;
    }

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name)
            return action_->text().replace(QLatin1String("&&"), QLatin1String("&"));
        return kind == QAccessible::Description ? action_->statusTip() : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}

    QRect rect() const override {
        const QRect place = menu_->actionGeometry(action_);
        return {menu_->mapToGlobal(place.topLeft()), place.size()};
    }
    QAccessible::Role role() const override {
        return action_->isSeparator() ? QAccessible::Separator : QAccessible::MenuItem;
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.disabled = !action_->isEnabled();
        state.invisible = !menu_->isVisible() || !action_->isVisible();
        state.selectable = state.focusable = !state.disabled && !action_->isSeparator();
        state.focused = menu_->isVisible() && menu_->activeAction() == action_;
        state.checkable = action_->isCheckable();
        state.checked = action_->isChecked();
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ActionInterface)
            return static_cast<QAccessibleActionInterface*>(this);
        return nullptr;
    }
    QStringList actionNames() const override {
        if (action_->isSeparator())
            return {};
        return {action_->menu() ? showMenuAction() : pressAction()};
    }
    void doAction(const QString& name) override {
        if (!actionNames().contains(name))
            return;
        if (action_->menu())
            return showMenu();
        for (QWidget* open = menu_; qobject_cast<QMenu*>(open); open = open->parentWidget())
            open->hide();
        action_->trigger();
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    void showMenu() const {
        if (auto* bar = qobject_cast<QMenuBar*>(menu_->parentWidget()); bar && !menu_->isVisible())
            bar->setActiveAction(menu_->menuAction());
        menu_->setActiveAction(action_);
    }

    QPointer<DescribedMenu> menu_;
    QPointer<QAction> action_;
};

class MenuInterface : public QAccessibleWidget {
  public:
    explicit MenuInterface(DescribedMenu* menu)
        : QAccessibleWidget(menu, QAccessible::PopupMenu, menu->title().remove(QLatin1Char('&'))) {}

    ~MenuInterface() override {
        for (const QAccessible::Id item : std::as_const(items_))
            QAccessible::deleteAccessibleInterface(item);
    }

    QAccessibleInterface* parent() const override {
        QWidget* above = menu()->parentWidget();
        return above ? QAccessible::queryAccessibleInterface(above) : QAccessibleWidget::parent();
    }
    int childCount() const override { return int(menu()->actions().size()); }
    QAccessibleInterface* child(int index) const override {
        QAction* action = menu()->actions().value(index);
        return action ? interfaceOf(action) : nullptr;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        QAction* action = menu()->actionAt(menu()->mapFromGlobal(QPoint(x, y)));
        return action ? interfaceOf(action) : nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        QAction* action = menu()->activeAction();
        return action ? interfaceOf(action) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return int(menu()->actions().indexOf(qobject_cast<QAction*>(child->object())));
    }

  private:
    DescribedMenu* menu() const { return static_cast<DescribedMenu*>(widget()); }

    /// An item keeps its interface for its lifetime. A new item may have the address of a deleted
    /// one, whose interface is then invalid.
    QAccessibleInterface* interfaceOf(QAction* action) const {
        if (const auto known = items_.constFind(action); known != items_.cend()) {
            QAccessibleInterface* item = QAccessible::accessibleInterface(*known);
            if (item && item->isValid())
                return item;
            QAccessible::deleteAccessibleInterface(*known);
        }
        auto* item = new ItemInterface(menu(), action);
        items_.insert(action, QAccessible::registerAccessibleInterface(item));
        return item;
    }

    mutable QHash<QAction*, QAccessible::Id> items_;
};

} // namespace

DescribedMenu::DescribedMenu(const QString& title, QWidget* parent) : QMenu(title, parent) {
    describeBy<DescribedMenu, MenuInterface>();
    setToolTipsVisible(true);
    // Qt tells of the selected item only: screen readers would say nothing of a menu without one.
    const auto tell = [this] {
        if (!isVisible() || activeAction())
            return;
        QAccessibleEvent opened(this, QAccessible::Focus);
        QAccessible::updateAccessibility(&opened);
    };
    connect(this, &QMenu::aboutToShow, this, tell, Qt::QueuedConnection);
}

} // namespace ambrel
