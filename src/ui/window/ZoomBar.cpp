#include "ui/window/ZoomBar.h"

#include <utility>

#include <QHBoxLayout>

#include "app/AppState.h"
#include "app/TypedNumber.h"
#include "app/ZoomNavigation.h"
#include "ui/controls/ControlPanel.h"
#include "ui/controls/PushButton.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"
#include "ui/look/WrappingRow.h"
#include "waveform/WaveformGeometry.h"

namespace ambrel {
namespace {

/// A button whose text is a sign rather than a word.
PushButton* makeSignButton(const QString& sign, const QString& name) {
    auto* const button = new PushButton(sign);
    button->setAccessibleName(name);
    button->setToolTip(name);
    return button;
}

} // namespace

ZoomBar::ZoomBar(std::shared_ptr<AppState> state, ZoomNavigation& navigation, QWidget* parent)
    : QWidget(parent), state_(std::move(state)), navigation_(navigation),
      panLeft_(new PushButton(Symbol::chevronLeft, tr("Pan left"))),
      panRight_(new PushButton(Symbol::chevronRight, tr("Pan right"))),
      zoomText_(new TextLabel(Theme::TextStyle::caption)),
      zoomOut_(makeSignButton(QStringLiteral("-"), tr("Zoom out"))),
      zoomIn_(makeSignButton(QStringLiteral("+"), tr("Zoom in"))),
      fitTrack_(new PushButton(tr("Fit Track"))), fitRegion_(new PushButton(tr("Fit Region"))) {
    auto* const panning = new ControlRow(8);
    addButton(*panning, panLeft_, [this] { navigation_.panLeft(); });
    addButton(*panning, panRight_, [this] { navigation_.panRight(); });
    auto* const zooming = new ControlRow(8);
    zooming->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    zooming->addStretch();
    zoomText_->setMonospaced(true);
    zoomText_->setAlignment(Qt::AlignCenter);
    zoomText_->setAccessibleDescription(tr("Zoom level"));
    zooming->add(zoomText_);
    addButton(*zooming, zoomOut_, [this] { navigation_.zoomOut(); });
    addButton(*zooming, zoomIn_, [this] { navigation_.zoomIn(); });
    addButton(*zooming, fitTrack_, [this] { navigation_.fitTrack(); });
    addButton(*zooming, fitRegion_, [this] { navigation_.fitRegion(); });
    auto* const place = new QHBoxLayout(this);
    place->setContentsMargins(0, 0, 0, 0);
    place->addWidget(new WrappingRow(8, {panning, zooming}));
    // Time runs from left to right whatever the direction of the language.
    setLayoutDirection(Qt::LeftToRight);

    Theme::follow(this, &ZoomBar::applyTheme);
    state_->observe(this, {AppState::Field::zoomLevel, AppState::Field::panOffset},
                    [this] { showState(); });
}

void ZoomBar::addButton(ControlRow& row, PushButton* button, std::function<void()> action) {
    row.add(button);
    connect(button, &PushButton::clicked, this, std::move(action));
}

void ZoomBar::applyTheme() {
    zoomText_->setFixedWidth(Theme::length(42));
    for (PushButton* const button : {zoomOut_, zoomIn_})
        button->setFixedWidth(Theme::length(32));
}

void ZoomBar::showState() {
    const double zoom = state_->zoomLevel();
    const bool zoomed = zoom > WaveformGeometry::minimumZoom;
    zoomText_->setText(oneDecimal(zoom) + u'x');
    panLeft_->setEnabledWithoutPassingFocus(zoomed && state_->panOffset() > 0);
    panRight_->setEnabledWithoutPassingFocus(zoomed);
    zoomOut_->setEnabledWithoutPassingFocus(zoomed);
    zoomIn_->setEnabledWithoutPassingFocus(!(zoom >= WaveformGeometry::maximumZoom));
    fitTrack_->setEnabledWithoutPassingFocus(zoom != WaveformGeometry::minimumZoom);
}

} // namespace ambrel
