#include "ui/controls/RadioGroup.h"

#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/controls/TickBox.h"
#include "ui/look/AccessibleFactory.h"
#include "ui/look/PlainText.h"
#include "ui/look/Theme.h"

namespace ambrel {

RadioGroup::RadioGroup(const QString& accessibleName, const QStringList& labels, QWidget* parent)
    : QWidget(parent) {
    describeAs<RadioGroup, QAccessible::Grouping>();
    setAccessibleName(accessibleName);
    auto* column = new QVBoxLayout(this);
    for (const QString& label : labels) {
        auto* button = new TickBox<QRadioButton>(withoutMnemonics(label));
        button->setFocusPolicy(Qt::NoFocus);
        connect(button, &QRadioButton::toggled, button, [button](bool isChosen) {
            button->setFocusPolicy(isChosen ? Qt::TabFocus : Qt::NoFocus);
        });
        group_.addButton(button, column->count());
        column->addWidget(button, 0, Qt::AlignLeft);
    }
    // Not clicked(): screen readers toggle.
    connect(&group_, &QButtonGroup::idToggled, this, [this](int index, bool isChosen) {
        if (isChosen)
            Q_EMIT chosen(index);
    });
    Theme::space(column, 5);
}

void RadioGroup::setCurrent(int index) {
    const QSignalBlocker quiet(&group_);
    group_.button(index)->setChecked(true);
}

bool RadioGroup::holdsFocus() const {
    const QWidget* holder = focusWidget();
    return holder && holder->hasFocus();
}

} // namespace ambrel
