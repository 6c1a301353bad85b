#include "waveform/view/WaveformView.h"

#include <utility>

#include <QApplication>

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
    using Field = AppState::Field;
    for (const Field field :
         {Field::waveformSamples, Field::audioDuration, Field::regionStart, Field::regionEnd,
          Field::playbackPosition, Field::isPlaying, Field::zoomLevel, Field::panOffset})
        updateNSView(*view, *state_, field);
    QObject::connect(state_.get(), &AppState::changed, view,
                     [view, &state = *state_](Field field) { updateNSView(*view, state, field); });
    return view;
}

void WaveformView::updateNSView(WaveformNSView& view, const AppState& state,
                                AppState::Field field) {
    using Field = AppState::Field;
    switch (field) {
    case Field::waveformSamples:
        return view.setSamples(state.waveformSamples());
    case Field::audioDuration:
        return view.setDuration(state.audioDuration());
    case Field::regionStart:
        return view.setRegionStart(state.regionStart());
    case Field::regionEnd:
        return view.setRegionEnd(state.regionEnd());
    case Field::playbackPosition:
        return view.setPlaybackPosition(state.playbackPosition());
    case Field::isPlaying:
        return view.setIsPlaying(state.isPlaying());
    case Field::zoomLevel:
        return view.setZoomLevel(state.zoomLevel());
    case Field::panOffset:
        return view.setPanOffset(state.panOffset());
    default:
        return;
    }
}

} // namespace ambrel
