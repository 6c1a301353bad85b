#include "ui/Picker.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QWheelEvent>

#include "app/AccessibleFactory.h"
#include "ui/Theme.h"

namespace ambrel {
namespace {

class PickerInterface : public QAccessibleWidget {
  public:
    explicit PickerInterface(Picker* picker) : QAccessibleWidget(picker, QAccessible::ComboBox) {}

    /// The choice is the description too: some screen readers know no other way to it while the
    /// list is closed.
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value || kind == QAccessible::Description
                   ? picker()->currentText()
                   : QAccessibleWidget::text(kind);
    }
    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(picker()->view()) : nullptr;
    }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child->object() == picker()->view() ? 0 : -1;
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = state.expandable = true;
        state.expanded = picker()->view()->isVisible();
        return state;
    }
    QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    void doAction(const QString& name) override {
        if (!picker()->isEnabled() || !actionNames().contains(name))
            return;
        if (picker()->view()->isVisible())
            picker()->hidePopup();
        else
            picker()->showPopup();
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    Picker* picker() const { return static_cast<Picker*>(widget()); }
};

} // namespace

Picker::Picker(const QString& accessibleName, QWidget* parent) : QComboBox(parent) {
    describeBy<Picker, PickerInterface>();
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
