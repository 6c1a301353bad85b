#include "ui/panels/EQView.h"

#include <algorithm>
#include <utility>

#include <QVBoxLayout>

#include "audio/AudioEngine.h"
#include "ui/controls/VerticalSlider.h"
#include "ui/look/SlidingRow.h"
#include "ui/look/Theme.h"
#include "ui/panels/GainLabel.h"

namespace ambrel {
namespace {

const std::array<QString, 5> kFrequencies = {QStringLiteral("60Hz"), QStringLiteral("250Hz"),
                                             QStringLiteral("1kHz"), QStringLiteral("4kHz"),
                                             QStringLiteral("12kHz")};

} // namespace

EQView::EQView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
               QWidget* parent)
    : ControlPanel(QStringLiteral("EQ"), 8, parent), state_(std::move(state)),
      engine_(std::move(engine)) {
    addSwitch(QStringLiteral("Equaliser"));
    addReset(QStringLiteral("Reset equaliser"));
    bandRow_ = new SlidingRow(makeBandRow());
    addRow(bandRow_);
    connect(this, &ControlPanel::switched, state_.get(), &AppState::setEqEnabled);
    connect(this, &ControlPanel::resetRequested, this, &EQView::resetGains);
    state_->observe(this, {AppState::Field::eqEnabled}, [this] {
        engine_->setEQEnabled(state_->eqEnabled());
        showSwitch();
    });
    state_->observe(this, {AppState::Field::eqGains}, [this] { showGains(); });
}

QWidget* EQView::makeBandRow() {
    auto* row = new ControlRow(16);
    for (std::size_t band = 0; band < kBands; ++band)
        row->add(makeBand(band), 1);
    return row;
}

QWidget* EQView::makeBand(std::size_t band) {
    const QString& frequency = kFrequencies.at(band);
    auto* slider = new VerticalSlider(frequency + QStringLiteral(" gain"));
    auto* label = new GainLabel;
    label->setAccessibleDescription(frequency + QStringLiteral(" value"));
    sliders_.at(band) = slider;
    labels_.at(band) = label;
    connect(slider, &VerticalSlider::moved, this,
            [this, band](double gain) { setGain(band, gain); });
    connect(label, &GainLabel::zeroRequested, slider, [slider] { slider->moveTo(0); });

    auto* column = new QWidget;
    auto* stack = new QVBoxLayout(column);
    stack->addWidget(
        new TextLabel(frequency, Theme::TextStyle::caption2, Theme::TextColour::secondary), 0,
        Qt::AlignHCenter);
    stack->addWidget(slider, 0, Qt::AlignHCenter);
    stack->addWidget(label, 0, Qt::AlignHCenter);
    Theme::space(stack, 4);
    return column;
}

void EQView::setGain(std::size_t band, double gain) {
    auto gains = state_->eqGains();
    gains.resize(std::max(gains.size(), band + 1));
    gains[band] = gain;
    state_->setEqGains(std::move(gains));
    engine_->setEQGain(state_->eqGain(band), int(band));
}

void EQView::resetGains() {
    state_->setEqGains(std::vector<double>(kBands));
    for (std::size_t band = 0; band < kBands; ++band)
        engine_->setEQGain(0, int(band));
}

void EQView::showSwitch() {
    setSwitchedOn(state_->eqEnabled());
    bandRow_->setShown(state_->eqEnabled());
}

void EQView::showGains() {
    for (std::size_t band = 0; band < kBands; ++band) {
        sliders_.at(band)->showGain(state_->eqGain(band));
        labels_.at(band)->showGain(state_->eqGain(band));
    }
    setResetEnabled(!std::ranges::all_of(state_->eqGains(), [](double gain) { return gain == 0; }));
}

} // namespace ambrel
