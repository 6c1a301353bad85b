#pragma once

#include <memory>

#include "app/AppState.h"
#include "ui/controls/ControlPanel.h"

namespace ambrel {

class AudioEngine;
class NumberField;
class Picker;

/// The speed panel: speed in percent, typed or in steps, and the size of the steps.
class SpeedControl : public ControlPanel {
    Q_OBJECT

  public:
    SpeedControl(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                 QWidget* parent = nullptr);

  private:
    QWidget* makeValueRow();
    QWidget* makeStepRow();
    bool commitSpeed(const QString& typed, double anchor);
    bool setCustomStep(double step);
    void chooseStep(int index);
    void showSpeed();
    void showStep();

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    /// "Custom" was chosen while the step equalled a preset: the field stays until a step is
    /// committed or another choice is made.
    bool isCustomChosen_ = false;
    NumberField* speed_;
    Picker* step_;
    NumberField* customStep_;
};

} // namespace ambrel
