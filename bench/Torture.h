#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ToneChecker.h"
#include "platform/sound/AudioGraph.h"
#include "platform/sound/device/OfflineOutput.h"
#include "support/SyntheticFile.h"

namespace ambrel::bench {

/// A client that plays, stops, pauses, loads, drags regions and turns every knob at random frames,
/// as fast as the graph can go, and watches over what comes out.
///
/// Everything follows from the seed: equal seeds do the same at the same frames. Files are single
/// tones of a steady level, so that a click is a bend that no tone makes, and a gap a lack of
/// level.
class Torture {
  public:
    struct Result {
        std::vector<std::string> faults;    ///< what was wrong, and after which step
        std::vector<std::uint64_t> digests; ///< of all sound up to the end of each step
        std::int64_t frames = 0;            ///< of output
        int segments = 0;                   ///< scheduled
    };

    /// Does `steps` random things. `trace`: prints each before it is done.
    static Result run(std::uint64_t seed, int steps, bool trace = false);

  private:
    struct Pass {
        std::shared_ptr<std::atomic<int>> completions = std::make_shared<std::atomic<int>>(0);
        std::int64_t frames = 0;
        bool isDropped = false; ///< completed whether it was heard or not
    };

    struct File {
        std::shared_ptr<test::SyntheticFile> tone;
        std::int64_t period = 1; ///< frames
    };

    Torture(std::uint64_t seed, bool trace);

    void step();
    void finish();

    void load();
    void schedule();
    void play();
    void pause();
    void stop();
    void changeRate();
    void changePitch();
    void changeEqualiser();
    void announce();
    void adopt();

    void pull(std::size_t frames);
    void listen(const std::vector<float>& stereo, std::size_t played);
    void watchPosition();
    void awaitCompletion(const Pass& pass);
    void drop();
    void fault(const std::string& what);
    template <class... Numbers> void note(const char* format, Numbers... numbers) const;

    std::int64_t between(std::int64_t least, std::int64_t most);
    std::int64_t spread(std::int64_t least, std::int64_t most);
    bool oneIn(int times) { return between(1, times) == 1; }
    std::optional<Announcement> region();

    std::mt19937_64 random_;
    bool trace_;
    int deviceHz_;
    OfflineOutput* output_;
    std::unique_ptr<AudioGraph> graph_;
    std::unique_ptr<ToneChecker> checker_;
    std::vector<File> files_;
    File file_;
    Result result_;
    std::uint64_t digest_ = 14695981039346656037ULL;

    std::vector<Pass> passes_; ///< all that were ever to be completed
    bool isSmooth_ = true;     ///< regions lie on whole periods, so that every tone runs through
    std::vector<std::int64_t> announced_; ///< frames in a pass, by the announcement's id less 1
    bool isScheduled_ = false;
    bool isPlaying_ = false;
    bool mayPause_ = false;    ///< silence may be part of what plays
    double lastPosition_ = -1; ///< in the pass that is watched
};

} // namespace ambrel::bench
