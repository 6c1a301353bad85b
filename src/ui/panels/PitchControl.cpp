#include "ui/panels/PitchControl.h"

#include <cmath>
#include <utility>

#include "app/Transport.h"
#include "app/TypedNumber.h"
#include "audio/AudioEngine.h"
#include "ui/controls/NumberField.h"
#include "ui/controls/StepperRow.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr NumberEdit::Range kRange = {transport::lowestPitch, transport::highestPitch, 1}; // cents

QString pitchText(double cents) {
    const QString text = wholePart(cents);
    return cents >= 1 ? QLatin1Char('+') + text : text;
}

} // namespace

PitchControl::PitchControl(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                           QWidget* parent)
    : ControlPanel(QStringLiteral("Pitch"), 6, parent), state_(std::move(state)),
      engine_(std::move(engine)) {
    addReset(QStringLiteral("Reset pitch"));
    addRow(makeValueRow());
    addRow(new TextLabel(QStringLiteral("cents  (±1200, 100 = 1 semitone)"),
                         Theme::TextStyle::caption, Theme::TextColour::secondary));
    connect(this, &ControlPanel::resetRequested, this,
            [this] { transport::setPitch(*state_, *engine_, 0); });
    state_->observe(this, {AppState::Field::pitch}, [this] { showPitch(); });
}

QWidget* PitchControl::makeValueRow() {
    const auto step = [this](int direction) {
        const auto stepped = direction > 0 ? transport::pitchUp : transport::pitchDown;
        stepped(*state_, *engine_);
    };
    pitch_ = new NumberField(
        QStringLiteral("Pitch"), 72, Theme::TextStyle::body,
        {.value = [this] { return state_->pitch(); },
         .set = [this](double cents) { transport::setPitch(*state_, *engine_, cents); },
         .range = [] { return kRange; }},
        {.text = [this] { return pitchText(state_->pitch()); },
         .spoken = [this] { return counted(std::trunc(state_->pitch()), "cent"); },
         .commit = [this](const QString& text,
                          double anchor) { return commit(trimmedBlanks(text), anchor); },
         .step = step,
         .afterReturn = NumberField::AfterReturn::leaveWhole});
    return new StepperRow(QStringLiteral("Lower pitch"), pitch_, QStringLiteral("Raise pitch"),
                          step);
}

bool PitchControl::commit(const QString& typed, double anchor) {
    auto pitch = typedChange(typed, anchor);
    if (!pitch)
        pitch = typedNumber(typed);
    if (pitch)
        transport::setPitch(*state_, *engine_, *pitch);
    else
        transport::pushPitch(*state_, *engine_);
    return pitch.has_value();
}

void PitchControl::showPitch() {
    pitch_->refresh();
    setResetEnabled(state_->pitch() != 0);
}

} // namespace ambrel
