#include "ui/panels/TransportView.h"

#include <utility>

#include <QHBoxLayout>

#include "app/TimeText.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "ui/controls/SymbolButton.h"
#include "ui/look/TextLabel.h"

namespace ambrel {

TransportView::TransportView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                             QWidget* parent)
    : QWidget(parent), state_(std::move(state)), engine_(std::move(engine)),
      button_(new SymbolButton(QSizeF(44, 44), 22)),
      readOut_(new TextLabel(Theme::TextStyle::body)) {
    auto* row = new QHBoxLayout(this);
    Theme::space(row, 16);
    row->addWidget(button_, 0, Qt::AlignVCenter);
    row->addWidget(readOut_, 0, Qt::AlignVCenter);
    readOut_->setMonospaced(true);
    readOut_->setAccessibleDescription(QStringLiteral("Position"));

    connect(button_, &SymbolButton::clicked, this,
            [this] { transport::togglePlayPause(*state_, *engine_); });
    state_->observe(this, {AppState::Field::isPlaying}, [this] { showTransport(); });
    state_->observe(this, {AppState::Field::playbackPosition}, [this] { showPosition(); });
    Theme::follow(this, &TransportView::fitReadOut);
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
