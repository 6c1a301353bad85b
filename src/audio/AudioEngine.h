#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include <QCoroTask>
#include <QUrl>

#include "platform/desktop/BackgroundQueue.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/RepeatingTimer.h"
#include "platform/sound/AudioGraph.h"

namespace ambrel {

class PlaybackModel;

/// Plays one region of the open file, loops it with or without a pause, and reports the play head.
///
/// The rules are here: which frames a region has, what follows its end, and which completions are
/// stale. While a segment plays, the graph is kept told what will follow it, so that a loop runs on
/// without waiting for the main thread; at its end the rules still decide, and what runs on by then
/// is adopted if it is what they say. Everything runs on the main thread; completions of the graph
/// hop there first. The model is held weakly and holds the truth about speed, pitch and equaliser:
/// nobody reads them back here.
class AudioEngine : public std::enable_shared_from_this<AudioEngine> {
  public:
    /// Centre frequencies of the equaliser's bands in Hz, in band order.
    static constexpr std::array<float, 5> eqFrequencies = {60, 250, 1000, 4000, 12000};

    /// Opens a file for playing. Off the main thread; throws AudioFileError.
    using Open = std::function<std::shared_ptr<AudioFile>(const QUrl& url)>;
    static std::shared_ptr<AudioFile> openLocally(const QUrl& url);

    /// The instance of the application, on the default sound device.
    static std::shared_ptr<AudioEngine> shared();

    /// Sets up the equaliser: five peaking bands an octave wide at 0 dB, bypassed.
    static std::shared_ptr<AudioEngine> create(std::unique_ptr<AudioGraph> graph,
                                               MainQueue& mainQueue, Open open = openLocally);
    ~AudioEngine();

    /// Where positions and the end of a region are written; not kept alive.
    void setAppState(std::weak_ptr<PlaybackModel> appState);

    /// Stops, then opens `url` off the main thread, without waiting for files that are still being
    /// opened, and makes it the file to play, unless a later load has begun meanwhile. Gives the
    /// opened file either way. Throws AudioFileError; the file to play is then the one before, and
    /// stopped.
    QCoro::Task<std::shared_ptr<AudioFile>> load(QUrl url);

    /// Plays the frames from `start` to `end` (seconds), and says whether it does. No effect
    /// without a file or unless start < end; only a stop when there is not one frame between them.
    /// The caller sets the model's isPlaying.
    bool play(double start, double end);
    void stop();
    /// Nothing sounds from here on until the next play(), whatever was about to follow.
    void pause();

    void setRate(float rate);   ///< 1.0 is normal speed
    void setPitch(float cents); ///< transposition
    void setEQEnabled(bool enabled);
    void setEQGain(double gain, int band); ///< dB; a band that does not exist is ignored

  private:
    using Completion = AudioGraph::Completion;

    AudioEngine(std::unique_ptr<AudioGraph> graph, MainQueue& mainQueue, Open open);
    void setupEngine();
    bool isPlaying(std::int64_t generation) const;
    void handleCompletion(std::int64_t generation);
    std::optional<Announcement> segment(double start, double end) const;
    std::optional<Announcement> following() const;
    bool renewAnnouncement();
    Completion completionOf(std::int64_t segment);
    void announce();
    void stopWhatRunsOn();
    void playNext(double start, double end, std::int64_t announcement);
    void repeat(std::int64_t generation, const PlaybackModel& appState);
    void finish(std::int64_t generation, const std::shared_ptr<PlaybackModel>& appState);
    void stopAndRewind();
    void rewind();
    void startPositionTimer(double fileStart);
    void writePosition();

    MainQueue& mainQueue_;
    std::unique_ptr<AudioGraph> engine_;
    Open open_;
    BackgroundQueue opens_;
    std::shared_ptr<AudioFile> audioFile_;
    std::int64_t generation_ = 0; ///< taken by every stop and every new segment
    bool isPaused_ = false;       ///< until the next stop or segment
    std::int64_t newestLoad_ = 0;
    std::optional<Announcement> announced_; ///< what the graph was told to follow
    std::int64_t announcements_ = 0;        ///< made so far
    std::unique_ptr<RepeatingTimer> positionTimer_;
    double fileStart_ = 0; ///< seconds; where the segment that plays begins
    std::weak_ptr<PlaybackModel> appState_;
    std::shared_ptr<void> loopObservation_;
};

} // namespace ambrel
