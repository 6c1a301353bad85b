#include "ui/WorkingScreen.h"

#include <QScrollArea>
#include <QVBoxLayout>

#include "ui/Divider.h"
#include "ui/EQView.h"
#include "ui/LoopControl.h"
#include "ui/PitchControl.h"
#include "ui/RegionControls.h"
#include "ui/SpeedControl.h"
#include "ui/Theme.h"
#include "ui/TransportView.h"
#include "ui/WaveformSection.h"
#include "ui/WrappingRow.h"

namespace ambrel {

WorkingScreen::WorkingScreen(const std::shared_ptr<AppState>& state,
                             const std::shared_ptr<AudioEngine>& engine, QWidget* parent)
    : QWidget(parent) {
    auto* column = new QWidget;
    panels_ = new QVBoxLayout(column);
    panels_->addWidget(
        new WrappingRow(16, {new RegionControls(state, engine), new TransportView(state, engine)}));
    panels_->addWidget(new Divider);
    auto* speedAndPitch = new ControlRow(12);
    speedAndPitch->add(new SpeedControl(state, engine), 1);
    speedAndPitch->add(new PitchControl(state, engine), 1);
    panels_->addWidget(speedAndPitch);
    panels_->addWidget(new Divider);
    panels_->addWidget(new EQView(state, engine));
    panels_->addWidget(new Divider);
    panels_->addWidget(new LoopControl(state));
    panels_->addStretch(1); // the panels stay as high as what is in them

    auto* scroller = new QScrollArea;
    scroller->setWidget(column);
    scroller->setWidgetResizable(true);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setFocusPolicy(Qt::NoFocus); // a click on it would take Space away from playing

    auto* screen = new QVBoxLayout(this);
    screen->setContentsMargins(0, 0, 0, 0);
    screen->setSpacing(0);
    screen->addWidget(new WaveformSection(state, engine));
    screen->addWidget(new Divider);
    screen->addWidget(scroller, 1);

    connect(&Theme::shared(), &Theme::changed, this, &WorkingScreen::applyTheme);
    applyTheme();
}

void WorkingScreen::applyTheme() {
    const int side = Theme::length(16);
    const int above = Theme::length(12);
    panels_->setContentsMargins(side, above, side, above);
    panels_->setSpacing(above);
}

} // namespace ambrel
