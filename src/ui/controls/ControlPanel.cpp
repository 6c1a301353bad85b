#include "ui/controls/ControlPanel.h"

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/controls/PushButton.h"
#include "ui/controls/TickBox.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"

namespace ambrel {

ControlPanel::ControlPanel(const QString& title, double spacing, QWidget* parent)
    : RoundedPanel(parent), column_(new QVBoxLayout(this)), header_(new QHBoxLayout) {
    header_->addWidget(new TextLabel(title, Theme::TextStyle::headline), 0, Qt::AlignVCenter);
    header_->addStretch(1);
    column_->addLayout(header_);
    column_->addStretch(1); // beside a higher panel the rest stays empty
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    Theme::space(column_, spacing, {10, 10, 10, 10});
    Theme::space(header_, 8);
}

void ControlPanel::addSwitch(const QString& accessibleName) {
    switch_ = new TickBox<QCheckBox>;
    switch_->setAccessibleName(accessibleName);
    switch_->setFocusPolicy(Qt::TabFocus);
    header_->insertWidget(1, switch_, 0, Qt::AlignVCenter);
    connect(switch_, &QCheckBox::toggled, this, &ControlPanel::switched);
}

void ControlPanel::setSwitchedOn(bool isOn) {
    const QSignalBlocker quiet(switch_);
    switch_->setChecked(isOn);
}

void ControlPanel::addReset(const QString& accessibleName) {
    reset_ = new PushButton(QStringLiteral("Reset"));
    reset_->setAccessibleName(accessibleName);
    reset_->setEnabled(false);
    header_->addWidget(reset_);
    connect(reset_, &PushButton::clicked, this, &ControlPanel::resetRequested);
}

void ControlPanel::setResetEnabled(bool enabled) {
    reset_->setEnabledWithoutPassingFocus(enabled);
}

void ControlPanel::addRow(QWidget* row) {
    column_->insertWidget(column_->count() - 1, row);
}

ControlRow::ControlRow(double spacing, QWidget* parent)
    : QWidget(parent), row_(new QHBoxLayout(this)) {
    Theme::space(row_, spacing);
}

void ControlRow::add(QWidget* widget, int stretch) {
    row_->addWidget(widget, stretch, stretch > 0 ? Qt::Alignment() : Qt::AlignVCenter);
}

void ControlRow::addStretch() {
    row_->addStretch(1);
}

} // namespace ambrel
