#include "ui/panels/LoopControl.h"

#include <utility>

#include "ui/controls/TimePickerField.h"
#include "ui/look/SlidingRow.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"

namespace ambrel {

LoopControl::LoopControl(std::shared_ptr<AppState> state, QWidget* parent)
    : ControlPanel(QStringLiteral("Loop"), 6, parent), state_(std::move(state)) {
    addSwitch(QStringLiteral("Loop"));
    delayRow_ = new SlidingRow(makeDelayRow());
    addRow(delayRow_);
    connect(this, &ControlPanel::switched, state_.get(), &AppState::setLoopEnabled);
    state_->observe(this,
                    {AppState::Field::loopEnabled, AppState::Field::loopDelaySeconds,
                     AppState::Field::loopDelayMilliseconds},
                    [this] { showState(); });
}

QWidget* LoopControl::makeDelayRow() {
    const auto committed = [this] { state_->settingsDidChange(); };
    seconds_ = new TimePickerField(
        QStringLiteral("Loop delay seconds"),
        {.get = [this] { return state_->loopDelaySeconds(); },
         .set = [this](std::int64_t value) { state_->setLoopDelaySeconds(value); },
         .committed = committed});
    milliseconds_ = new TimePickerField(
        QStringLiteral("Loop delay milliseconds"),
        {.get = [this] { return state_->loopDelayMilliseconds(); },
         .set = [this](std::int64_t value) { state_->setLoopDelayMilliseconds(value); },
         .committed = committed});
    auto* row = new ControlRow(6);
    row->add(new TextLabel(QStringLiteral("Delay:"), Theme::TextStyle::caption,
                           Theme::TextColour::secondary));
    row->add(seconds_);
    row->add(milliseconds_);
    row->addStretch();
    return row;
}

void LoopControl::showState() {
    setSwitchedOn(state_->loopEnabled());
    seconds_->refresh();
    milliseconds_->refresh();
    delayRow_->setShown(state_->loopEnabled());
}

} // namespace ambrel
