#pragma once

#include <array>
#include <memory>

#include "app/AppState.h"
#include "ui/controls/ControlPanel.h"

namespace ambrel {

class AudioEngine;
class GainLabel;
class SlidingRow;
class VerticalSlider;

/// The equaliser panel: a switch and, while on, a slider for each of five bands.
class EQView : public ControlPanel {
    Q_OBJECT

  public:
    EQView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
           QWidget* parent = nullptr);

  private:
    static constexpr std::size_t kBands = 5;

    QWidget* makeBandRow();
    QWidget* makeBand(std::size_t band);
    void setGain(std::size_t band, double gain);
    void resetGains();
    void showSwitch();
    void showGains();

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    SlidingRow* bandRow_;
    std::array<VerticalSlider*, kBands> sliders_ = {};
    std::array<GainLabel*, kBands> labels_ = {};
};

} // namespace ambrel
