#include "app/Transport.h"

#include "app/AppState.h"
#include "app/TypedNumber.h"
#include "audio/AudioEngine.h"

namespace ambrel::transport {

void start(AppState& state, AudioEngine& engine) {
    if (!(state.regionStart() < state.regionEnd()))
        return;
    state.setPlaybackPosition(state.regionStart());
    state.setIsPlaying(engine.play(state.regionStart(), state.regionEnd()));
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
    if (!engine.play(state.regionStart(), state.regionEnd()))
        stopAndRewind(state, engine);
}

void pushSpeed(const AppState& state, AudioEngine& engine) {
    engine.setRate(static_cast<float>(state.speed() / 100));
}

void pushPitch(const AppState& state, AudioEngine& engine) {
    engine.setPitch(static_cast<float>(state.pitch()));
}

void setSpeed(AppState& state, AudioEngine& engine, double percent) {
    state.setSpeed(clampedNumber(percent, lowestSpeed, highestSpeed));
    pushSpeed(state, engine);
}

void setPitch(AppState& state, AudioEngine& engine, double cents) {
    state.setPitch(clampedNumber(cents, lowestPitch, highestPitch));
    pushPitch(state, engine);
}

void decreaseSpeed(AppState& state, AudioEngine& engine) {
    setSpeed(state, engine, state.speed() - state.speedStep());
}

void increaseSpeed(AppState& state, AudioEngine& engine) {
    setSpeed(state, engine, state.speed() + state.speedStep());
}

void pitchDown(AppState& state, AudioEngine& engine) {
    setPitch(state, engine, state.pitch() - 1);
}

void pitchUp(AppState& state, AudioEngine& engine) {
    setPitch(state, engine, state.pitch() + 1);
}

void pushSettings(const AppState& state, AudioEngine& engine) {
    pushSpeed(state, engine);
    pushPitch(state, engine);
    engine.setEQEnabled(state.eqEnabled());
    for (std::size_t band = 0; band < AudioEngine::eqFrequencies.size(); ++band)
        engine.setEQGain(state.eqGain(band), static_cast<int>(band));
}

} // namespace ambrel::transport
