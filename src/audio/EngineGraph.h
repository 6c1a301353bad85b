#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include <QUrl>

#include "platform/sound/PassCourse.h"

namespace ambrel {

class AudioFile;

/// The sound graph as the engine drives it, and the opening of files: all that stands between the
/// engine's rules and a device, so that a test can put a script in its place.
///
/// Main thread, but for open(). Nothing here waits for a device or a file, but for open().
class EngineGraph {
  public:
    using Completion = std::function<void()>;

    virtual ~EngineGraph() = default;

    /// Opens a file for playing. Off the main thread; throws AudioFileError.
    virtual std::shared_ptr<AudioFile> open(const QUrl& url) = 0;

    virtual bool isRunning() const = 0;
    virtual void start() = 0;

    /// One segment at a time, and what follows it. `completion` is called once, on any thread, when
    /// the segment has been heard to its end or was stopped.
    virtual void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                                 std::int64_t frameCount, Completion completion,
                                 const std::optional<Continuation>& next) = 0;

    /// What follows the segment, and each pass after it, until told otherwise.
    virtual void setContinuation(const std::optional<Continuation>& next) = 0;

    /// What runs on since the completion was called; absent if nothing does.
    virtual std::optional<Continuation> runningOn() const = 0;

    /// Makes what runs on the segment that plays: its completion is called, and the player's time
    /// counts in it. False if it is not this.
    virtual bool goOn(const Continuation& wanted, Completion completion) = 0;

    virtual void play() = 0;
    virtual void pause() = 0;
    virtual void stop() = 0;

    /// File frames heard since the segment's first; absent before that.
    virtual std::optional<double> playerTime() const = 0;

    virtual void setRate(float rate) = 0;   ///< 1.0 is normal speed
    virtual void setPitch(float cents) = 0; ///< transposition
    virtual void setEqualiserBypass(bool bypass) = 0;
    /// A peaking band: centre in Hz, width in octaves, gain in dB.
    virtual void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) = 0;
    virtual void setEqualiserGain(int band, float gain) = 0;
};

} // namespace ambrel
