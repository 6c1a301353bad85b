#include "app/Transport.h"

#include <algorithm>

#include "app/AppState.h"
#include "audio/AudioEngine.h"

namespace ambrel::transport {
namespace {

constexpr double kLowestSpeed = 5;     // percent
constexpr double kHighestSpeed = 300;  // percent
constexpr double kLowestPitch = -1200; // cents
constexpr double kHighestPitch = 1200; // cents

void pushSpeed(const AppState& state, AudioEngine& engine) {
    engine.setRate(static_cast<float>(state.speed() / 100));
}

void pushPitch(const AppState& state, AudioEngine& engine) {
    engine.setPitch(static_cast<float>(state.pitch()));
}

void stepSpeed(AppState& state, AudioEngine& engine, double step) {
    state.setSpeed(std::clamp(state.speed() + step, kLowestSpeed, kHighestSpeed));
    pushSpeed(state, engine);
}

void stepPitch(AppState& state, AudioEngine& engine, double step) {
    state.setPitch(std::clamp(state.pitch() + step, kLowestPitch, kHighestPitch));
    pushPitch(state, engine);
}

} // namespace

void start(AppState& state, AudioEngine& engine) {
    if (!(state.regionStart() < state.regionEnd()))
        return;
    state.setPlaybackPosition(state.regionStart());
    engine.play(state.regionStart(), state.regionEnd());
    state.setIsPlaying(true);
}

void pause(AppState& state, AudioEngine& engine) {
    engine.pause();
    state.setIsPlaying(false);
}

void togglePlayPause(AppState& state, AudioEngine& engine) {
    if (state.isPlaying())
        pause(state, engine);
    else
        start(state, engine);
}

void stopAndRewind(AppState& state, AudioEngine& engine) {
    engine.stop();
    state.setIsPlaying(false);
    state.setPlaybackPosition(state.regionStart());
}

void toggleLoop(AppState& state, AudioEngine&) {
    state.setLoopEnabled(!state.loopEnabled());
}

void restartRegion(AppState& state, AudioEngine& engine) {
    engine.stop();
    engine.play(state.regionStart(), state.regionEnd());
}

void decreaseSpeed(AppState& state, AudioEngine& engine) {
    stepSpeed(state, engine, -state.speedStep());
}

void increaseSpeed(AppState& state, AudioEngine& engine) {
    stepSpeed(state, engine, state.speedStep());
}

void pitchDown(AppState& state, AudioEngine& engine) {
    stepPitch(state, engine, -1);
}

void pitchUp(AppState& state, AudioEngine& engine) {
    stepPitch(state, engine, 1);
}

void pushSettings(const AppState& state, AudioEngine& engine) {
    pushSpeed(state, engine);
    pushPitch(state, engine);
    engine.setEQEnabled(state.eqEnabled());
    for (std::size_t band = 0; band < state.eqGains().size(); ++band)
        engine.setEQGain(state.eqGains()[band], static_cast<int>(band));
}

} // namespace ambrel::transport
