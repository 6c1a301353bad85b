#include "ui/controls/ControlPanel.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/controls/PushButton.h"
#include "ui/controls/TextLabel.h"
#include "ui/controls/Theme.h"

namespace ambrel {

ControlPanel::ControlPanel(const QString& title, double spacing, QWidget* parent)
    : RoundedPanel(parent), spacing_(spacing), column_(new QVBoxLayout(this)),
      header_(new QHBoxLayout) {
    header_->addWidget(new TextLabel(title, Theme::TextStyle::headline), 0, Qt::AlignVCenter);
    header_->addStretch(1);
    column_->addLayout(header_);
    column_->addStretch(1); // beside a higher panel the rest stays empty
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    connect(&Theme::shared(), &Theme::changed, this, &ControlPanel::applyTheme);
    applyTheme();
}

void ControlPanel::applyTheme() {
    const int padding = Theme::length(10);
    column_->setContentsMargins(padding, padding, padding, padding);
    column_->setSpacing(Theme::length(spacing_));
    header_->setSpacing(Theme::length(8));
}

void ControlPanel::addSwitch(const QString& accessibleName) {
    switch_ = new QCheckBox;
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
    row_->setContentsMargins(0, 0, 0, 0);
    const auto applyTheme = [this, spacing] { row_->setSpacing(Theme::length(spacing)); };
    connect(&Theme::shared(), &Theme::changed, this, applyTheme);
    applyTheme();
}

void ControlRow::add(QWidget* widget, int stretch) {
    row_->addWidget(widget, stretch, stretch > 0 ? Qt::Alignment() : Qt::AlignVCenter);
}

void ControlRow::addStretch() {
    row_->addStretch(1);
}

} // namespace ambrel
