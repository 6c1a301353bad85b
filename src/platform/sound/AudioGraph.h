#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>

namespace ambrel {

class AudioFile;
class AudioOutput;

/// What follows a pass through a region, and each pass after it, as long as nothing else is said.
/// Passes are told apart by its id, so that nobody need compare regions.
struct Announcement {
    static constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

    std::int64_t id = 0;             ///< of the client's choice, above 0
    std::int64_t startFrame = 0;     ///< of the file
    std::int64_t frameCount = 0;     ///< in a pass, above 0
    double pauseSeconds = 0;         ///< of silence before each pass; 0: crossfaded
    std::int64_t passes = unlimited; ///< how many follow, above 0

    bool operator==(const Announcement&) const = default;
};

/// Player → time-pitch → equaliser → output, joined and running on threads of their own. An
/// interface, so that a test of the rules above it can put a script in its place.
///
/// One client thread (the main thread) calls everything here; nothing waits for a device, a file or
/// another thread. Completions are called on a thread of the graph's.
class AudioGraph {
  public:
    /// Called once per segment that was scheduled and per pass that was adopted, when its last
    /// frame has been heard or it was dropped.
    using Completion = std::function<void()>;

    /// Bands of the equaliser.
    static constexpr int bandCount = 5;

    /// The graph that is heard through `output`.
    static std::unique_ptr<AudioGraph> create(std::unique_ptr<AudioOutput> output);

    /// Drops what is scheduled, firing its completion, and ends the threads.
    virtual ~AudioGraph() = default;

    virtual bool isRunning() const = 0;

    /// Starts the output. Does nothing when it runs.
    virtual void start() = 0;

    /// Makes `frameCount` frames of `file` from `startFrame` on the next thing that play() is heard
    /// with. Frames outside the file, and those that no longer decode, are silence: a segment
    /// always lasts what was asked for.
    virtual void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                                 std::int64_t frameCount, Completion completion,
                                 const std::optional<Announcement>& next = {}) = 0;

    /// What follows the segment, and each pass after it, until something else is announced:
    /// playback runs straight on into it.
    ///
    /// It replaces what was announced before from the first pass boundary on that is more than
    /// about 10 ms beyond what the device has been given, once its beginning has been read from the
    /// file.
    virtual void announce(const std::optional<Announcement>& next) = 0;

    /// The announcement for which a pass plays since the completion was called, or is about to
    /// after its pause; absent before that, and when playback ended. However many such passes there
    /// were, they count as one.
    virtual std::optional<std::int64_t> runningOn() const = 0;

    /// Makes that pass the segment that plays: the player's time counts in it, and its completion
    /// is called. False unless it plays for announcement `id`.
    virtual bool adopt(std::int64_t id, Completion completion) = 0;

    /// The scheduled segment is heard from here on, or goes on after pause().
    virtual void play() = 0;

    /// Silence within 30 ms; the segment stays scheduled and its completion is not called.
    virtual void pause() = 0;

    /// Silence within 30 ms; drops the segment and calls its completion.
    virtual void stop() = 0;

    /// Frames of the file, at the file's rate, heard since the first of the segment or of the pass
    /// adopted; absent before that is heard or with nothing scheduled; rests at the length.
    virtual std::optional<double> playerTime() const = 0;

    /// Speed, 1.0 is normal; values outside 0.05 to 3.0 are brought to the nearer end.
    virtual void setRate(float rate) = 0;

    /// Transposition in cents; brought into −1200 to 1200.
    virtual void setPitch(float cents) = 0;

    /// On: the equaliser leaves the sound alone.
    virtual void setEqualiserBypass(bool bypass) = 0;

    /// A peaking band; `bandwidth` in octaves, `gain` in dB. `band` is 0 to 4.
    virtual void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) = 0;

    /// Gain of one band in dB; a gain that is no finite number counts as 0.
    virtual void setEqualiserGain(int band, float gain) = 0;
};

} // namespace ambrel
