#include "ui/WorkingScreen.h"

#include <QScrollArea>
#include <QVBoxLayout>

#include "ui/Divider.h"
#include "ui/Theme.h"
#include "ui/TransportView.h"
#include "ui/WaveformSection.h"

namespace ambrel {

WorkingScreen::WorkingScreen(const std::shared_ptr<AppState>& state,
                             const std::shared_ptr<AudioEngine>& engine, QWidget* parent)
    : QWidget(parent) {
    auto* column = new QWidget;
    panels_ = new QVBoxLayout(column);
    panels_->addWidget(new TransportView(state, engine));
    panels_->addStretch();

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
