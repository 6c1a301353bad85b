#include "ui/controls/TimePickerField.h"

#include <algorithm>
#include <utility>

#include <QVBoxLayout>

#include "app/TypedNumber.h"
#include "ui/controls/ButtonFace.h"
#include "ui/controls/NumberField.h"
#include "ui/controls/SymbolButton.h"

namespace ambrel {
namespace {

constexpr double kWidth = 42;      // points
constexpr double kStepHeight = 18; // points
constexpr double kStepSymbol = 10; // points

} // namespace

TimePickerField::TimePickerField(const QString& accessibleName, Value value, QWidget* parent)
    : QWidget(parent), value_(std::move(value)), field_(makeField(accessibleName)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeStepButton(accessibleName + QStringLiteral(" up"), 1), 0,
                      Qt::AlignHCenter);
    column->addWidget(field_, 0, Qt::AlignHCenter);
    column->addWidget(makeStepButton(accessibleName + QStringLiteral(" down"), -1), 0,
                      Qt::AlignHCenter);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

NumberField* TimePickerField::makeField(const QString& accessibleName) {
    const NumberEdit::Range range = {double(value_.lowest), double(value_.highest), 1};
    return new NumberField(accessibleName, kWidth, Theme::TextStyle::body,
                           {.value = [this] { return double(value_.get()); },
                            .set = [this](double value) { set(value); },
                            .range = [range] { return range; }},
                           {.text = [this] { return valueText(); },
                            .spoken = [this] { return QString::number(value_.get()); },
                            .commit = [this](const QString& text, double) { return commit(text); },
                            .step = [this](int direction) { step(direction); },
                            .afterReturn = NumberField::AfterReturn::stay});
}

SymbolButton* TimePickerField::makeStepButton(const QString& name, int direction) {
    auto* button = new SymbolButton(QSizeF(kWidth, kStepHeight), kStepSymbol);
    button->setColour(Theme::TextColour::secondary);
    button->setSymbol(direction > 0 ? Symbol::chevronUp : Symbol::chevronDown, name);
    makeRepeating(*button);
    connect(button, &SymbolButton::clicked, this, [this, direction] { field_->step(direction); });
    return button;
}

void TimePickerField::refresh() {
    field_->refresh();
}

QString TimePickerField::valueText() const {
    const int digits = value_.highest < 100 ? 2 : 3;
    return QStringLiteral("%1").arg(value_.get(), digits, 10, QLatin1Char('0'));
}

void TimePickerField::set(double number) {
    value_.set(std::int64_t(clampedNumber(number, double(value_.lowest), double(value_.highest))));
    value_.committed();
}

bool TimePickerField::commit(const QString& text) {
    const auto number = typedWholeNumber(text);
    if (number)
        value_.set(std::clamp(*number, value_.lowest, value_.highest));
    value_.committed();
    return number.has_value();
}

void TimePickerField::step(int direction) {
    // Clamp before adding: the stored value may be any number.
    const std::int64_t value = value_.get();
    if (direction > 0)
        value_.set(value < value_.highest ? value + 1 : value_.highest);
    else
        value_.set(value > value_.lowest ? value - 1 : value_.lowest);
    value_.committed();
}

} // namespace ambrel
