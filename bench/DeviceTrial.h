#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "HeardTones.h"
#include "LoopedTones.h"
#include "PrivateSoundServer.h"

namespace ambrel::test {

/// One thing measured, and the most that it may be.
struct Measure {
    const char* what;
    const char* unit;
    double got = 0;
    double most = 0;

    bool isReached() const { return got <= most; }
};

/// A loop that plays while its sound device comes and goes, and whether anybody would notice.
///
/// Everything the sinks play is recorded, everything the play head shows is kept, and finish()
/// compares the two. Between a change of the device and the return of its sound nothing is asked of
/// the sound, and of the play head only that it goes on.
class DeviceTrial {
  public:
    using Deed = std::function<void(PrivateSoundServer&)>;

    /// `partSeconds`: how long each sink is listened to.
    explicit DeviceTrial(double partSeconds) : partSeconds_(partSeconds) {}

    /// Plays to whatever device there is, none at first.
    void play();

    /// Plays on while there is no device.
    void playToNobody();

    /// Starts the server, plays and listens.
    void playTo(const SinkShape& shape);

    /// After this there is no device, and for half a part none comes.
    void lose(const Deed& deed);

    /// After this there is one, `sink`: waits for its sound and listens for a while.
    void bring(const Deed& deed, const QString& sink, const SinkShape& shape = {});

    std::vector<Measure> finish();

  private:
    using Clock = LoopedTones::Clock;
    struct Interval {
        Clock::time_point begin, end;
    };
    /// At a moment so many frames had been recorded.
    struct Mark {
        Clock::time_point when;
        std::size_t frames = 0;
    };
    struct Listening {
        Recording recording;
        std::vector<Mark> marks;
        std::size_t soundFrom = 0; ///< frame
    };

    double awaitSound(Listening& listening, SinkRecorder& recorder, int channels,
                      Clock::time_point there) const;
    double worstPaceMs() const;
    double lostSeconds() const;
    LoopedTones::Sight gapsBetweenChanges() const;
    double worstPlayHeadMs() const;
    bool isDisturbed(Clock::time_point begin, Clock::time_point end) const;

    double partSeconds_;
    PrivateSoundServer server_;
    std::optional<LoopedTones> tones_;
    LoopedTones::Account account_;
    std::vector<Interval> disturbances_;
    std::vector<Listening> listenings_;
    double slowestReturnSeconds_ = 0;
};

} // namespace ambrel::test
