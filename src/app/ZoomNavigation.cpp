#include "app/ZoomNavigation.h"

#include <algorithm>
#include <utility>

#include "app/AppState.h"
#include "waveform/WaveformGeometry.h"

namespace ambrel {
namespace {

constexpr double zoomStep = 2;
constexpr double panStep = 0.5;     // of the width
constexpr double leadIn = 0.05;     // of the width, left of the region's start
constexpr double regionShare = 0.9; // of the width, when the region is fitted

} // namespace

ZoomNavigation::ZoomNavigation(std::shared_ptr<AppState> state) : state_(std::move(state)) {}

void ZoomNavigation::setWaveformViewWidth(double points) {
    waveformViewWidth_ = points;
    const double pan = state_->panOffset();
    const double clamped = WaveformGeometry::clampedPan(pan, points, state_->zoomLevel());
    if (pan > clamped)
        state_->setPanOffset(clamped);
}

void ZoomNavigation::zoomIn() {
    showRegionStart(WaveformGeometry::clampedZoom(state_->zoomLevel() * zoomStep));
}

void ZoomNavigation::zoomOut() {
    showRegionStart(WaveformGeometry::clampedZoom(state_->zoomLevel() / zoomStep));
}

void ZoomNavigation::fitTrack() {
    state_->setZoomLevel(1);
    state_->setPanOffset(0);
}

void ZoomNavigation::fitRegion() {
    const double length = state_->regionEnd() - state_->regionStart();
    if (!(state_->audioDuration() > 0) || !(length > 0))
        return;
    showRegionStart(WaveformGeometry::clampedZoom(state_->audioDuration() * regionShare / length));
}

void ZoomNavigation::panLeft() {
    state_->setPanOffset(std::max(0.0, state_->panOffset() - waveformViewWidth_ * panStep));
}

void ZoomNavigation::panRight() {
    state_->setPanOffset(std::min(state_->panOffset() + waveformViewWidth_ * panStep,
                                  (state_->zoomLevel() - 1) * waveformViewWidth_));
}

void ZoomNavigation::showRegionStart(double zoom) {
    const double duration = state_->audioDuration();
    const double fraction = duration > 0 ? state_->regionStart() / duration : 0;
    state_->setZoomLevel(zoom);
    state_->setPanOffset(WaveformGeometry::clampedPan(zoom * fraction * waveformViewWidth_ -
                                                          leadIn * waveformViewWidth_,
                                                      waveformViewWidth_, zoom));
}

} // namespace ambrel
