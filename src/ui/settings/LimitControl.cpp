#include "ui/settings/LimitControl.h"

#include <algorithm>
#include <utility>

#include "app/TypedNumber.h"
#include "ui/controls/NumberEdit.h"
#include "ui/controls/RadioGroup.h"
#include "ui/look/TextLabel.h"

namespace ambrel {

LimitControl::LimitControl(Limit limit, QWidget* parent)
    : ControlPanel(limit.title, 8, parent), limit_(std::move(limit)), presets_(makePresets()),
      custom_(makeCustomField()), customRow_(makeCustomRow()) {
    addRow(presets_);
    addRow(customRow_);
    connect(presets_, &RadioGroup::chosen, this, &LimitControl::choose);
    connect(custom_, &QLineEdit::returnPressed, this, &LimitControl::submitCustom);
    Theme::follow(this, [this] {
        custom_->setFont(Theme::font(Theme::TextStyle::body));
        custom_->setFixedWidth(Theme::length(70));
        customRow_->setContentsMargins(Theme::length(20), 0, 0, 0); // below its preset's label
    });
    showLimit();
}

RadioGroup* LimitControl::makePresets() const {
    QStringList labels;
    for (const Preset& preset : limit_.presets)
        labels << preset.label;
    return new RadioGroup(limit_.group, labels << QStringLiteral("Custom"));
}

NumberEdit* LimitControl::makeCustomField() {
    const NumberEdit::Range range = {1, double(limit_.highest), 1};
    auto* field = new NumberEdit(
        {.value = [this] { return double(typedWholeNumber(custom_->text()).value_or(0)); },
         .set =
             [this](double value) {
                 custom_->setText(wholePart(value));
                 submitCustom();
             },
         .range = [range] { return range; }});
    field->setAccessibleName(limit_.field);
    Theme::showPlaceholder(field, limit_.placeholder);
    return field;
}

QWidget* LimitControl::makeCustomRow() {
    auto* row = new ControlRow(6);
    row->add(custom_);
    row->add(new TextLabel(limit_.unit, Theme::TextStyle::body));
    row->addStretch();
    return row;
}

bool LimitControl::isCustomChosen() const {
    return presets_->current() == limit_.presets.size();
}

void LimitControl::showLimit() {
    const auto limit = limit_.get();
    const auto& presets = limit_.presets;
    const auto preset = std::ranges::find(presets, limit, &Preset::limit);
    presets_->setCurrent(int(preset - presets.begin()));
    if (preset == presets.end() && limit)
        custom_->setText(wholePart(*limit));
    showCustomRow();
}

void LimitControl::showCustomRow() {
    if (!isCustomChosen() && custom_->hasFocus())
        custom_->clearFocus(); // hidden, it would pass the focus on to the next control
    customRow_->setVisible(isCustomChosen());
}

/// Choosing "Custom" changes nothing until a number is committed.
void LimitControl::choose(int place) {
    showCustomRow();
    if (!isCustomChosen())
        limit_.set(limit_.presets.at(place).limit);
    else if (!presets_->holdsFocus())
        custom_->setFocus(); // chosen by the mouse: what comes next is the number
}

void LimitControl::submitCustom() {
    const auto number = typedWholeNumber(custom_->text());
    if (!number || *number < 1 || *number > limit_.highest)
        return;
    limit_.set(double(*number));
    custom_->selectAll();
}

} // namespace ambrel
