#include "ui/window/WorkingScreen.h"

#include <QScrollArea>
#include <QVBoxLayout>

#include "ui/controls/Divider.h"
#include "ui/controls/Theme.h"
#include "ui/controls/WrappingRow.h"
#include "ui/panels/EQView.h"
#include "ui/panels/LoopControl.h"
#include "ui/panels/PitchControl.h"
#include "ui/panels/RegionControls.h"
#include "ui/panels/SpeedControl.h"
#include "ui/panels/TransportView.h"
#include "ui/window/WaveformSection.h"

namespace ambrel {

WorkingScreen::WorkingScreen(const std::shared_ptr<AppState>& state,
                             const std::shared_ptr<AudioEngine>& engine, QWidget* parent)
    : QWidget(parent), scroller_(new QScrollArea) {
    auto* column = new QWidget;
    panels_ = new QVBoxLayout(column);
    panels_->addWidget(
        new WrappingRow(16, {new RegionControls(state, engine), new TransportView(state, engine)}));
    panels_->addWidget(new Divider);
    panels_->addWidget(
        new WrappingRow(12, {new SpeedControl(state, engine), new PitchControl(state, engine)}));
    panels_->addWidget(new Divider);
    panels_->addWidget(new EQView(state, engine));
    panels_->addWidget(new Divider);
    panels_->addWidget(new LoopControl(state));
    panels_->addStretch(1); // the panels stay as high as what is in them

    scroller_->setWidget(column);
    scroller_->setWidgetResizable(true);
    scroller_->setFrameShape(QFrame::NoFrame);
    scroller_->setFocusPolicy(Qt::NoFocus); // a click on it would take Space away from playing

    auto* screen = new QVBoxLayout(this);
    screen->setContentsMargins(0, 0, 0, 0);
    screen->setSpacing(0);
    screen->addWidget(new WaveformSection(state, engine));
    screen->addWidget(new Divider);
    screen->addWidget(scroller_, 1);

    connect(&Theme::shared(), &Theme::changed, this, &WorkingScreen::applyTheme);
    applyTheme();
}

void WorkingScreen::applyTheme() {
    const int side = Theme::length(16);
    const int above = Theme::length(12);
    panels_->setContentsMargins(side, above, side, above);
    panels_->setSpacing(above);
    scroller_->setMinimumHeight(Theme::length(200)); // of a panel or two
}

} // namespace ambrel
