#include "ui/settings/LimitControl.h"

#include "app/TypedNumber.h"
#include "ui/controls/NumberEdit.h"
#include "ui/controls/RadioGroup.h"
#include "ui/controls/TextLabel.h"

namespace ambrel {

LimitControl::LimitControl(const Texts& texts, QWidget* parent)
    : ControlPanel(texts.title, 8, parent), presets_(new RadioGroup(texts.group, texts.presets)),
      custom_(makeCustomField(texts)), customRow_(makeCustomRow(texts)),
      customPlace_(int(texts.presets.size()) - 1) {
    addRow(presets_);
    addRow(customRow_);
    connect(presets_, &RadioGroup::chosen, this, [this](int place) {
        showCustomRow();
        if (isCustomChosen() && !presets_->holdsFocus())
            custom_->setFocus(); // chosen by the mouse: what comes next is the number
        Q_EMIT presetChosen(place);
    });
    connect(custom_, &QLineEdit::returnPressed, this, &LimitControl::customSubmitted);
    Theme::follow(this, &LimitControl::applyTheme);
}

NumberEdit* LimitControl::makeCustomField(const Texts& texts) {
    const NumberEdit::Range range = {1, texts.highest, 1};
    auto* field =
        new NumberEdit({.value = [this] { return double(typedWholeNumber(custom()).value_or(0)); },
                        .set =
                            [this](double value) {
                                setCustom(wholePart(value));
                                Q_EMIT customSubmitted();
                            },
                        .range = [range] { return range; }});
    field->setAccessibleName(texts.field);
    field->setPlaceholderText(texts.placeholder);
    return field;
}

QWidget* LimitControl::makeCustomRow(const Texts& texts) {
    auto* row = new ControlRow(6);
    row->add(custom_);
    row->add(new TextLabel(texts.unit, Theme::TextStyle::body));
    row->addStretch();
    return row;
}

void LimitControl::applyTheme() {
    custom_->setFont(Theme::font(Theme::TextStyle::body));
    custom_->setFixedWidth(Theme::length(70));
    customRow_->setContentsMargins(Theme::length(20), 0, 0, 0); // below the label of its preset
}

bool LimitControl::isCustomChosen() const {
    return presets_->current() == customPlace_;
}

void LimitControl::showCustomRow() {
    if (!isCustomChosen() && custom_->hasFocus())
        custom_->clearFocus(); // hidden, it would pass the focus on to the next control
    customRow_->setVisible(isCustomChosen());
}

void LimitControl::setPreset(int place) {
    presets_->setCurrent(place);
    showCustomRow();
}

QString LimitControl::custom() const {
    return custom_->text();
}

void LimitControl::setCustom(const QString& text) {
    custom_->setText(text);
}

void LimitControl::selectCustom() {
    custom_->selectAll();
}

} // namespace ambrel
