#pragma once

#include "app/AppState.h"
#include "audio/AudioEngine.h"
#include "support/ScriptedGraph.h"
#include "support/TemporarySettings.h"

namespace ambrel::test {

/// Model and engine as in the program, on a scripted graph and an empty store.
struct ScriptedPlayer {
    ScriptedPlayer() { engine->setAppState(state); }

    TemporarySettings settings;
    MainQueue queue;
    std::shared_ptr<AppState> state = AppState::create(settings.store(), queue);
    ScriptedGraph* graph = new ScriptedGraph; ///< the engine's
    std::shared_ptr<AudioEngine> engine =
        AudioEngine::create(std::unique_ptr<AudioGraph>(graph), queue,
                            [this](const QUrl& url) { return graph->open(url); });
};

} // namespace ambrel::test
