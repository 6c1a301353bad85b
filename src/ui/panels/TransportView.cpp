#include "ui/panels/TransportView.h"

#include <utility>

#include <QHBoxLayout>

#include "app/TimeText.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "ui/controls/SymbolButton.h"
#include "ui/controls/TextLabel.h"

namespace ambrel {

TransportView::TransportView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                             QWidget* parent)
    : QWidget(parent), state_(std::move(state)), engine_(std::move(engine)),
      button_(new SymbolButton(QSizeF(44, 44), 22)),
      readOut_(new TextLabel(Theme::TextStyle::body)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Theme::length(16));
    row->addWidget(button_, 0, Qt::AlignVCenter);
    row->addWidget(readOut_, 0, Qt::AlignVCenter);
    readOut_->setMonospaced(true);
    readOut_->setAccessibleDescription(QStringLiteral("Position"));

    connect(button_, &SymbolButton::clicked, this,
            [this] { transport::togglePlayPause(*state_, *engine_); });
    connect(state_.get(), &AppState::changed, this, [this](AppState::Field field) {
        if (field == AppState::Field::isPlaying)
            showTransport();
        else if (field == AppState::Field::playbackPosition)
            showPosition();
    });
    connect(&Theme::shared(), &Theme::changed, this, [this, row] {
        row->setSpacing(Theme::length(16));
        fitReadOut();
    });
    showTransport();
    showPosition();
}

void TransportView::showTransport() {
    if (state_->isPlaying())
        button_->setSymbol(Symbol::pause, QStringLiteral("Pause"));
    else
        button_->setSymbol(Symbol::play, QStringLiteral("Play"));
}

void TransportView::showPosition() {
    const QString text = timeText(state_->playbackPosition(), 2);
    const QString shown = readOut_->text();
    if (text == shown)
        return;
    readOut_->setText(text);
    if (text.size() != shown.size())
        fitReadOut();
}

/// A read-out of fixed size needs no new layout of the window at each step of the play head.
void TransportView::fitReadOut() {
    readOut_->setFixedSize(readOut_->QLabel::sizeHint());
}

} // namespace ambrel
