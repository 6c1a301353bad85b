#include "ui/controls/Picker.h"

#include <QActionGroup>
#include <QWheelEvent>

#include "ui/controls/DescribedMenu.h"
#include "ui/controls/MenuOwnerInterface.h"
#include "ui/look/AccessibleFactory.h"
#include "ui/look/PlainText.h"
#include "ui/look/Theme.h"

namespace ambrel {
namespace {

class PickerInterface : public MenuOwnerInterface<Picker> {
  public:
    explicit PickerInterface(Picker* picker) : MenuOwnerInterface(picker, QAccessible::ComboBox) {}

    /// The choice is also the description: some screen readers find it in no other way while the
    /// list is closed.
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value || kind == QAccessible::Description
                   ? owner()->currentText()
                   : MenuOwnerInterface::text(kind);
    }
    QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    void doAction(const QString& name) override {
        if (!owner()->isEnabled() || !actionNames().contains(name))
            return;
        if (owner()->menu()->isVisible())
            owner()->hidePopup();
        else
            owner()->showPopup();
    }
};

} // namespace

Picker::Picker(const QString& accessibleName, QWidget* parent)
    : QComboBox(parent), menu_(new DescribedMenu(accessibleName, this)) {
    describeBy<Picker, PickerInterface>();
    setAccessibleName(accessibleName);
    setFocusPolicy(Qt::TabFocus);
    menu_->setAttribute(Qt::WA_NoMouseReplay); // the click that closes it would open it again
    connect(model(), &QAbstractItemModel::rowsInserted, this, &Picker::fillMenu);
    connect(this, &QComboBox::currentIndexChanged, menu_, [this](int place) {
        if (QAction* choice = menu_->actions().value(place))
            choice->setChecked(true);
    });
    Theme::follow(this, [this] { setFont(Theme::font(Theme::TextStyle::caption)); });
}

void Picker::fillMenu() {
    menu_->clear();
    auto* choices = new QActionGroup(menu_);
    for (int place = 0; place < count(); ++place) {
        QAction* choice = menu_->addAction(withoutMnemonics(itemText(place)), this, [this, place] {
            setCurrentIndex(place);
            Q_EMIT activated(place);
        });
        choice->setCheckable(true);
        choice->setChecked(place == currentIndex());
        choices->addAction(choice);
    }
}

/// Opens with the current choice in place and selected.
void Picker::showPopup() {
    QAction* choice = menu_->actions().value(currentIndex());
    menu_->setMinimumWidth(width());
    menu_->popup(mapToGlobal(QPoint()), choice);
    menu_->setActiveAction(choice);
}

void Picker::hidePopup() {
    menu_->hide();
}

void Picker::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QComboBox::wheelEvent(event);
    else
        event->ignore();
}

} // namespace ambrel
