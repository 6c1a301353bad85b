#include "waveform/view/WaveformView.h"

#include <utility>

#include <QApplication>

#include "app/AppState.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "waveform/view/WaveformNSView.h"

namespace ambrel {
namespace {

void resignFocus() {
    QWidget* const window = QApplication::activeWindow();
    if (QWidget* const focused = window ? window->focusWidget() : nullptr)
        focused->clearFocus();
}

} // namespace

WaveformView::WaveformView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine)
    : state_(std::move(state)), engine_(std::move(engine)) {}

WaveformNSView* WaveformView::makeNSView(QWidget* parent) const {
    auto* const view = new WaveformNSView(parent);
    view->onRegionChange = [state = state_](double start, double end) {
        state->setRegion(start, end);
        state->settingsDidChange();
    };
    view->onDragEnded = [state = state_, engine = engine_] {
        if (state->isPlaying())
            transport::restartRegion(*state, *engine);
    };
    view->onResignFocus = resignFocus;
    view->onZoomChange = [state = state_](double zoom, double pan) {
        state->setZoomLevel(zoom);
        state->setPanOffset(pan);
    };
    const auto follow = [&](AppState::Field field, auto set, auto get) {
        state_->observe(view, {field},
                        [=, state = state_.get()] { (view->*set)((state->*get)()); });
    };
    using Field = AppState::Field;
    using View = WaveformNSView;
    follow(Field::waveformSamples, &View::setSamples, &AppState::waveformSamples);
    follow(Field::audioDuration, &View::setDuration, &AppState::audioDuration);
    follow(Field::regionStart, &View::setRegionStart, &AppState::regionStart);
    follow(Field::regionEnd, &View::setRegionEnd, &AppState::regionEnd);
    follow(Field::playbackPosition, &View::setPlaybackPosition, &AppState::playbackPosition);
    follow(Field::isPlaying, &View::setIsPlaying, &AppState::isPlaying);
    follow(Field::zoomLevel, &View::setZoomLevel, &AppState::zoomLevel);
    follow(Field::panOffset, &View::setPanOffset, &AppState::panOffset);
    return view;
}

} // namespace ambrel
