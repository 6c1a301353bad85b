#pragma once

namespace ambrel {

class AppState;
class AudioEngine;

/// The transport sequences and the steps of speed and pitch: menu, keys, buttons and waveform all
/// call these. Main thread only.
namespace transport {

constexpr double lowestSpeed = 5;     ///< percent
constexpr double highestSpeed = 300;  ///< percent
constexpr double lowestPitch = -1200; ///< cents
constexpr double highestPitch = 1200; ///< cents

/// From the region's start, if the region is not empty.
void start(AppState& state, AudioEngine& engine);
/// Leaves the play head where it is; the next start begins at the region's start again.
void pause(AppState& state, AudioEngine& engine);
void togglePlayPause(AppState& state, AudioEngine& engine);
/// The play head goes back to the region's start.
void stopAndRewind(AppState& state, AudioEngine& engine);
/// The model alone: what plays reads the switch at the region's end.
void toggleLoop(AppState& state, AudioEngine& engine);
/// Plays the region as it now is; stops and rewinds when it has become empty.
void restartRegion(AppState& state, AudioEngine& engine);

/// Kept within 5 to 300 %; 300 for what is not a number.
void setSpeed(AppState& state, AudioEngine& engine, double percent);
/// Kept within ±1200 cents; 1200 for what is not a number.
void setPitch(AppState& state, AudioEngine& engine, double cents);

void decreaseSpeed(AppState& state, AudioEngine& engine); ///< by speedStep, down to 5 %
void increaseSpeed(AppState& state, AudioEngine& engine); ///< by speedStep, up to 300 %
void pitchDown(AppState& state, AudioEngine& engine);     ///< by 1 cent, down to −1200
void pitchUp(AppState& state, AudioEngine& engine);       ///< by 1 cent, up to 1200

/// Hands the value of the model to the engine again.
void pushSpeed(const AppState& state, AudioEngine& engine);
void pushPitch(const AppState& state, AudioEngine& engine);

/// Pushes speed, pitch and equaliser of the model into the engine.
void pushSettings(const AppState& state, AudioEngine& engine);

} // namespace transport
} // namespace ambrel
