#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>

namespace ambrel {

class AudioFile;
class AudioOutput;

/// What to play after the current pass, and after each later one until something else is announced.
/// The id identifies the passes played for it.
struct Announcement {
    static constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

    std::int64_t id = 0;             ///< chosen by the client, above 0
    std::int64_t startFrame = 0;     ///< file frame
    std::int64_t frameCount = 0;     ///< length of a pass in file frames, above 0
    double pauseSeconds = 0;         ///< silence before each pass; 0: crossfade
    std::int64_t passes = unlimited; ///< how many passes follow, above 0

    bool operator==(const Announcement&) const = default;
};

/// Plays segments of a file, with speed, pitch and equaliser, through an AudioOutput. An interface,
/// so that AudioEngine can be tested without it.
///
/// Threads: all functions are for one client thread (the main thread); none of them waits for a
/// device, a file or another thread. Completions are called on one of the graph's own threads.
class AudioGraph {
  public:
    /// Called once for the first pass of each scheduled segment and once for each adopted pass,
    /// when its last frame has been heard or it was dropped.
    using Completion = std::function<void()>;

    /// Number of equaliser bands.
    static constexpr int bandCount = 5;

    /// A graph that plays through `output`, which it owns and opens at the first expect() or
    /// start().
    static std::unique_ptr<AudioGraph> create(std::unique_ptr<AudioOutput> output);

    /// Drops the segment, calls its completion and joins the threads.
    virtual ~AudioGraph() = default;

    virtual bool isRunning() const = 0;

    /// Starts the output. No effect if it is running.
    virtual void start() = 0;

    /// Schedules `frameCount` frames of `file` from `startFrame` for the next play(), replacing any
    /// earlier segment, and announces `next`. Frames outside the file, and those that no longer
    /// decode, are silence: a segment always lasts as long as was asked for.
    virtual void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                                 std::int64_t frameCount, Completion completion,
                                 const std::optional<Announcement>& next = {}) = 0;

    /// While nothing plays: a segment of `file` may soon be scheduled from `frame`. What its start
    /// needs is read ahead, so that an attack there is known when it is played.
    virtual void expect(const std::shared_ptr<AudioFile>& file, std::int64_t frame) = 0;

    /// Announces what follows the current pass and each later one: playback continues into it
    /// without waiting for the client. Absent: nothing follows.
    ///
    /// Replaces what plays after the next boundary that can still change: at least 10 ms beyond
    /// what has been rendered, once the start of the new region has been read from the file.
    virtual void announce(const std::optional<Announcement>& next) = 0;

    /// The id of the announcement that has been playing, or waiting in its pause, since the
    /// completion was called; absent before the completion and when playback has ended.
    virtual std::optional<std::int64_t> runningOn() const = 0;

    /// Makes the newest of those passes the current one: player time counts from its start, and its
    /// completion is called at its end. False, with no effect, unless it was played for
    /// announcement `id`.
    virtual bool adopt(std::int64_t id, Completion completion) = 0;

    /// Plays the scheduled segment, or continues it after pause().
    virtual void play() = 0;

    /// Silence within 30 ms. The segment stays scheduled; its completion is not called.
    virtual void pause() = 0;

    /// Silence within 30 ms. Drops the segment and calls its completion.
    virtual void stop() = 0;

    /// File frames heard since the start of the current pass; absent before its first frame is
    /// heard or with nothing scheduled. Stays at the pass's length once that has been heard.
    virtual std::optional<double> playerTime() const = 0;

    /// Speed; 1.0 is normal. Clamped to 0.05 to 3.0.
    virtual void setRate(float rate) = 0;

    /// Transposition in cents. Clamped to −1200 to 1200.
    virtual void setPitch(float cents) = 0;

    /// True: the equaliser leaves the sound untouched.
    virtual void setEqualiserBypass(bool bypass) = 0;

    /// Sets a peaking band: `band` 0 to 4, `bandwidth` in octaves, `gain` in dB. Other bands are
    /// ignored.
    virtual void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) = 0;

    /// Gain of a band in dB; NaN and infinity count as 0.
    virtual void setEqualiserGain(int band, float gain) = 0;
};

} // namespace ambrel
