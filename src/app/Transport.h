#pragma once

namespace ambrel {

class AppState;
class AudioEngine;

/// The transport commands and the steps of speed and pitch, shared by menus, keys, buttons and
/// waveform. Main thread only.
namespace transport {

constexpr double lowestSpeed = 5;     ///< percent
constexpr double highestSpeed = 300;  ///< percent
constexpr double lowestPitch = -1200; ///< cents
constexpr double highestPitch = 1200; ///< cents

/// Plays from the region's start, if the region is not empty.
void start(AppState& state, AudioEngine& engine);
/// Stops the sound and leaves the play head where it is; the next start begins at the region's
/// start.
void pause(AppState& state, AudioEngine& engine);
void togglePlayPause(AppState& state, AudioEngine& engine);
/// Stops and moves the play head to the region's start.
void stopAndRewind(AppState& state, AudioEngine& engine);
/// Changes the model only: the engine reads it at the region's end.
void toggleLoop(AppState& state, AudioEngine& engine);
/// Plays the region as it is now; stops and rewinds if it has become empty.
void restartRegion(AppState& state, AudioEngine& engine);

/// Clamped to 5 to 300 %; NaN gives 300.
void setSpeed(AppState& state, AudioEngine& engine, double percent);
/// Clamped to ±1200 cents; NaN gives 1200.
void setPitch(AppState& state, AudioEngine& engine, double cents);

void decreaseSpeed(AppState& state, AudioEngine& engine); ///< by speedStep, down to 5 %
void increaseSpeed(AppState& state, AudioEngine& engine); ///< by speedStep, up to 300 %
void pitchDown(AppState& state, AudioEngine& engine);     ///< by 1 cent, down to −1200
void pitchUp(AppState& state, AudioEngine& engine);       ///< by 1 cent, up to 1200

/// Sets the model's speed in the engine.
void pushSpeed(const AppState& state, AudioEngine& engine);
void pushPitch(const AppState& state, AudioEngine& engine);

/// Sets the model's speed, pitch and equaliser in the engine.
void pushSettings(const AppState& state, AudioEngine& engine);

} // namespace transport
} // namespace ambrel
