#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/sound/PassCourse.h"

namespace ambrel {

class AudioFile;
class AudioOutput;

/// Player → time-pitch → equaliser → output, joined and running on threads of their own.
///
/// One client thread (the main thread) calls everything here; nothing waits for a device, a file or
/// another thread. Completions are called on a thread of the graph's.
class AudioGraph {
  public:
    /// Called once per segment that was scheduled and per pass that was gone on with, when its last
    /// frame has been heard or it was dropped.
    using Completion = std::function<void()>;

    /// Bands of the equaliser.
    static constexpr int bandCount = 5;

    explicit AudioGraph(std::unique_ptr<AudioOutput> output);

    /// Drops what is scheduled, firing its completion, and ends the threads.
    ~AudioGraph();

    AudioGraph(const AudioGraph&) = delete;
    AudioGraph& operator=(const AudioGraph&) = delete;

    bool isRunning() const;

    /// Starts the output. Does nothing when it runs.
    void start();

    /// Makes `frameCount` frames of `file` from `startFrame` on the next thing that play() is heard
    /// with. Frames outside the file, and those that no longer decode, are silence: a segment
    /// always lasts what was asked for.
    void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                         std::int64_t frameCount, Completion completion,
                         const std::optional<Continuation>& next = std::nullopt);

    /// What follows the segment, and each pass after it, until told otherwise: the sound runs
    /// straight on into it.
    ///
    /// It counts from the first end of a pass on that is further away than what the device has been
    /// given and about 10 ms of notice; what was announced before is taken back there.
    void setContinuation(const std::optional<Continuation>& next);

    /// What runs on, or is about to after its pause, since the completion was called; absent before
    /// that, and if the sound ended with it. Passes that are not gone on with count as one.
    std::optional<Continuation> runningOn() const;

    /// Goes on with what runs on: the player's time counts in it, and its completion is called.
    /// False if it is not this.
    bool goOn(const Continuation& wanted, Completion completion);

    /// The scheduled segment is heard from here on, or goes on after pause().
    void play();

    /// Silence within 30 ms; the segment stays scheduled and its completion is not called.
    void pause();

    /// Silence within 30 ms; drops the segment and calls its completion.
    void stop();

    /// Frames of the file, at the file's rate, heard since the first of the segment or of the pass
    /// gone on with; absent before that is heard or with nothing scheduled; rests at the length.
    std::optional<double> playerTime() const;

    /// Speed, 1.0 is normal; values outside 0.05 to 3.0 are brought to the nearer end.
    void setRate(float rate);

    /// Transposition in cents; brought into −1200 to 1200.
    void setPitch(float cents);

    /// On: the equaliser leaves the sound alone.
    void setEqualiserBypass(bool bypass);

    /// A peaking band; `bandwidth` in octaves, `gain` in dB. `band` is 0 to 4.
    void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain);

    /// Gain of one band in dB; a gain that is no finite number counts as 0.
    void setEqualiserGain(int band, float gain);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace ambrel
