#include "ui/panels/SpeedControl.h"

#include <algorithm>
#include <array>
#include <utility>

#include "app/Transport.h"
#include "app/TypedNumber.h"
#include "audio/AudioEngine.h"
#include "ui/controls/NumberField.h"
#include "ui/controls/Picker.h"
#include "ui/controls/StepperRow.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr double kNormalSpeed = 100; // percent
constexpr double kHighestStep = 100; // percentage points
constexpr std::array<double, 5> kStepPresets = {1, 2, 5, 10, 25};
constexpr int kCustom = kStepPresets.size(); // after the presets

/// Index in the picker of a step that is a preset, otherwise that of "Custom".
int placeOf(double step) {
    return int(std::ranges::find(kStepPresets, step) - kStepPresets.begin());
}

/// The shortest text that reads back as the step, always with a fractional part.
QString stepText(double step) {
    QString text = QString::number(step, 'f', QLocale::FloatingPointShortest);
    if (!text.contains(QLatin1Char('.')))
        text += QStringLiteral(".0");
    return text;
}

QString percentText(double step) {
    return QStringLiteral("%1%").arg(step);
}

} // namespace

SpeedControl::SpeedControl(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                           QWidget* parent)
    : ControlPanel(QStringLiteral("Speed"), 6, parent), state_(std::move(state)),
      engine_(std::move(engine)) {
    addReset(QStringLiteral("Reset speed"));
    addRow(makeValueRow());
    addRow(makeStepRow());
    connect(this, &ControlPanel::resetRequested, this,
            [this] { transport::setSpeed(*state_, *engine_, kNormalSpeed); });
    state_->observe(this, {AppState::Field::speed}, [this] { showSpeed(); });
    state_->observe(this, {AppState::Field::speedStep}, [this] { showStep(); });
}

QWidget* SpeedControl::makeValueRow() {
    const auto step = [this](int direction) {
        const auto stepped = direction > 0 ? transport::increaseSpeed : transport::decreaseSpeed;
        stepped(*state_, *engine_);
    };
    speed_ = new NumberField(
        QStringLiteral("Speed"), 64, Theme::TextStyle::body,
        {.value = [this] { return state_->speed(); },
         .set = [this](double speed) { transport::setSpeed(*state_, *engine_, speed); },
         .range =
             [this] {
                 return NumberEdit::Range{transport::lowestSpeed, transport::highestSpeed,
                                          state_->speedStep()};
             }},
        {.text = [this] { return wholePart(state_->speed()) + QLatin1Char('%'); },
         .commit = [this](const QString& text,
                          double anchor) { return commitSpeed(trimmedBlanks(text), anchor); },
         .step = step,
         .afterReturn = NumberField::AfterReturn::leaveWhole});
    return new StepperRow(QStringLiteral("Decrease speed"), speed_,
                          QStringLiteral("Increase speed"), step);
}

QWidget* SpeedControl::makeStepRow() {
    step_ = new Picker(QStringLiteral("Speed step"));
    for (const double preset : kStepPresets)
        step_->addItem(percentText(preset));
    step_->addItem(QStringLiteral("Custom"));
    connect(step_, &QComboBox::activated, this, &SpeedControl::chooseStep);
    customStep_ =
        new NumberField(QStringLiteral("Custom speed step"), 48, Theme::TextStyle::caption,
                        {.value = [this] { return state_->speedStep(); },
                         .set = [this](double step) { setCustomStep(step); },
                         .range =
                             [] {
                                 return NumberEdit::Range{0, kHighestStep, 0};
                             }},
                        {.text = [this] { return stepText(state_->speedStep()); },
                         .spoken = [this] { return percentText(state_->speedStep()); },
                         .commit =
                             [this](const QString& text, double) {
                                 const auto step = typedNumber(text);
                                 return step && setCustomStep(*step);
                             },
                         .step = {}});
    auto* row = new ControlRow(6);
    row->add(new TextLabel(QStringLiteral("Step:"), Theme::TextStyle::caption));
    row->add(step_);
    row->add(customStep_);
    row->addStretch();
    Theme::follow(step_, [this] { step_->setFixedWidth(Theme::length(80)); });
    return row;
}

bool SpeedControl::commitSpeed(const QString& typed, double anchor) {
    auto speed = typedChange(typed, anchor);
    if (!speed)
        speed = typedNumber(QString(typed).remove(QLatin1Char('%')));
    if (speed)
        transport::setSpeed(*state_, *engine_, *speed);
    else
        transport::pushSpeed(*state_, *engine_);
    return speed.has_value();
}

bool SpeedControl::setCustomStep(double step) {
    if (!(step > 0 && step <= kHighestStep))
        return false;
    isCustomChosen_ = false;
    state_->setSpeedStep(step);
    return true;
}

void SpeedControl::chooseStep(int index) {
    customStep_->commitTyping(); // what is chosen now counts, not what goes with the field
    isCustomChosen_ = index == kCustom;
    if (isCustomChosen_) {
        showStep();
        customStep_->editSelected();
    } else {
        state_->setSpeedStep(kStepPresets.at(std::size_t(index)));
    }
}

void SpeedControl::showSpeed() {
    speed_->refresh();
    setResetEnabled(state_->speed() != kNormalSpeed);
}

void SpeedControl::showStep() {
    const int place = isCustomChosen_ ? kCustom : placeOf(state_->speedStep());
    step_->setCurrentIndex(place);
    customStep_->refresh();
    customStep_->setVisible(place == kCustom);
}

} // namespace ambrel
