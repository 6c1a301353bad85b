#pragma once

#include <memory>

#include "app/AppState.h"
#include "ui/controls/ControlPanel.h"

namespace ambrel {

class SlidingRow;
class TimePickerField;

/// The loop panel: the loop switch and the pause between passes.
class LoopControl : public ControlPanel {
    Q_OBJECT

  public:
    explicit LoopControl(std::shared_ptr<AppState> state, QWidget* parent = nullptr);

  private:
    QWidget* makeDelayRow();
    void showState();

    std::shared_ptr<AppState> state_;
    TimePickerField* seconds_;
    TimePickerField* milliseconds_;
    SlidingRow* delayRow_;
};

} // namespace ambrel
