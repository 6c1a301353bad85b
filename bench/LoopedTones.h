#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "GapCounter.h"
#include "platform/sound/AudioGraph.h"

namespace ambrel::test {

/// Two tones, looped through the whole graph on the default device, by a client of its own thread
/// that does what the engine does: it looks at the play head and answers each completion.
///
/// A pass is a second long and both tones have whole periods in it, so that neither notices a
/// boundary. The upper one is 1 Hz above the octave of the lower: how far it has gone ahead of that
/// is where in the pass a sound lies.
class LoopedTones {
  public:
    static constexpr double lowHz = 600;
    static constexpr double highHz = 1201;
    /// Of each tone on the left; half of that on the right.
    static constexpr double amplitude = 0.2;
    static constexpr double passSeconds = 1;

    using Clock = std::chrono::steady_clock;

    /// What the play head showed.
    struct Sight {
        Clock::time_point when;
        double seconds = 0; ///< of all that was heard, passes added up
        /// Since the last one: silence that the device was given, and its longest time without a
        /// request.
        double silenceMs = 0;
        double gapMs = 0;
    };

    struct Account {
        std::vector<Sight> sights;
        int passes = 0;       ///< that were scheduled or gone on with
        int refused = 0;      ///< passes that could not be gone on with
        int notOnce = 0;      ///< completions that came never or more than once
        int backwards = 0;    ///< times that the play head went back within a pass
        double slowestMs = 0; ///< longest call into the graph
    };

    /// Begins to play.
    LoopedTones();

    /// Stops, and tells what was seen. Once.
    Account finish();

  private:
    void run();
    void look();
    AudioGraph::Completion nextCompletion();

    std::atomic<bool> ending_{false};
    Account account_; ///< the client thread's
    GapCounter counter_;
    double silenceMs_ = 0;
    std::unique_ptr<AudioGraph> graph_;                        ///< the client thread's
    std::vector<std::shared_ptr<std::atomic<int>>> completed_; ///< how often, pass by pass
    double lastSeconds_ = 0;
    int lastPass_ = 0;
    std::thread client_; ///< last: everything above is there before it runs
};

} // namespace ambrel::test
