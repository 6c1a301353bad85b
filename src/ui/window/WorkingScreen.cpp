#include "ui/window/WorkingScreen.h"

#include <QScrollArea>
#include <QVBoxLayout>

#include "ui/look/Divider.h"
#include "ui/look/Theme.h"
#include "ui/look/WrappingRow.h"
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
    : QWidget(parent) {
    auto* column = new QWidget;
    auto* panels = new QVBoxLayout(column);
    Theme::space(panels, 12, {16, 12, 16, 12});
    panels->addWidget(
        new WrappingRow(16, {new RegionControls(state, engine), new TransportView(state, engine)}));
    panels->addWidget(new Divider);
    panels->addWidget(
        new WrappingRow(12, {new SpeedControl(state, engine), new PitchControl(state, engine)}));
    panels->addWidget(new Divider);
    panels->addWidget(new EQView(state, engine));
    panels->addWidget(new Divider);
    panels->addWidget(new LoopControl(state));
    panels->addStretch(1); // the panels stay as high as what is in them

    auto* scroller = new QScrollArea;
    scroller->setWidget(column);
    scroller->setWidgetResizable(true);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setFocusPolicy(Qt::NoFocus); // a click on it would take Space away from playing

    auto* screen = new QVBoxLayout(this);
    screen->setContentsMargins(0, 0, 0, 0);
    screen->setSpacing(0);
    screen->addWidget(new WaveformSection(state, engine));
    screen->addWidget(new Divider);
    screen->addWidget(scroller, 1);

    Theme::follow(scroller, [scroller] {
        scroller->setMinimumHeight(Theme::length(200)); // of a panel or two
    });
}

} // namespace ambrel
