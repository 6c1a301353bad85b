#pragma once

#include <memory>

#include "app/AppState.h"
#include "ui/controls/ControlPanel.h"

namespace ambrel {

class AudioEngine;
class NumberField;

/// The pitch panel: transposition in cents, typed or in steps of one cent.
class PitchControl : public ControlPanel {
    Q_OBJECT

  public:
    PitchControl(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                 QWidget* parent = nullptr);

  private:
    QWidget* makeValueRow();
    bool commit(const QString& typed, double anchor);
    void showPitch();

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    NumberField* pitch_;
};

} // namespace ambrel
