#pragma once

#include "HandOvers.h"
#include "PrivateSoundServer.h"
#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioGraph.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>

namespace ambrel::bench {

struct Setting {
    const char* name;
    float rate;
    float cents;
};

constexpr std::array settings = {Setting{"100 %", 1, 0}, Setting{"50 %", 0.5, 0},
                                 Setting{"300 %, -1200 cents", 3, -1200}};

/// How long after a call its effect was handed over.
struct Reaction {
    double ms = 0;
    bool askedLate = false; ///< the device held it up, which tells nothing of the graph
};

/// The slowest of some, without those that the device held up.
class Slowest {
  public:
    void note(const Reaction& reaction) {
        if (reaction.askedLate)
            return;
        ms_ = std::max(ms_, reaction.ms);
        ++count_;
    }
    double ms() const { return count_ > 0 ? ms_ : INFINITY; }
    int count() const { return count_; }

  private:
    double ms_ = 0;
    int count_ = 0;
};

/// A graph on the default device, and how long after a call its effect is handed over.
class TimedGraph {
  public:
    void set(const Setting& setting) {
        graph.setRate(setting.rate);
        graph.setPitch(setting.cents);
    }

    void play(const std::shared_ptr<AudioFile>& file, std::int64_t startFrame) {
        graph.scheduleSegment(file, startFrame, file->length() - startFrame, [] {});
        graph.play();
    }

    void call(const std::function<void()>& command) {
        before = handOvers.frames();
        called_ = SoundClock::now();
        command();
    }

    /// From the call to a frame, in milliseconds.
    double msTo(std::size_t frame) const {
        using Milliseconds = std::chrono::duration<double, std::milli>;
        return Milliseconds(handOvers.when(frame) - called_).count();
    }

    /// From the call to a sound on that side; infinity if there is none.
    Reaction toSound(float (HandOvers::*side)(std::size_t) const) const {
        constexpr float audible = 0.01F;
        std::size_t next = before;
        for (int waited = 0; waited < 3000; ++waited) {
            for (; next < handOvers.frames(); ++next)
                if (std::abs((handOvers.*side)(next)) >= audible)
                    return reactionAt(next);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return {INFINITY, false};
    }

    /// From the call to the last frame that is not silent.
    Reaction toSilence() const {
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        std::size_t last = handOvers.frames() - 1;
        while (last > before && handOvers.left(last) == 0 && handOvers.right(last) == 0)
            --last;
        return reactionAt(last);
    }

    Reaction reactionAt(std::size_t frame) const {
        return {std::max(0.0, msTo(frame)), handOvers.wasAskedLate(before, frame)};
    }

    HandOvers handOvers;
    std::unique_ptr<AudioGraph> owned =
        AudioGraph::create(std::make_unique<test::TappedDevice>(handOvers));
    AudioGraph& graph = *owned;
    std::size_t before = 0; ///< frames handed over before the call

  private:
    SoundClock::time_point called_;
};

/// Measures with a sound server of its own.
inline int onPrivateServer(int argc, char** argv, const std::function<void(TimedGraph&)>& measure) {
    const QCoreApplication application(argc, argv);
    PrivateSoundServer server;
    server.start({.sampleRateHz = deviceHz});
    TimedGraph timed;
    timed.graph.start();
    // The device opens before a user gets to play.
    std::this_thread::sleep_for(std::chrono::seconds(2));
    measure(timed);
    return 0;
}

} // namespace ambrel::bench
