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

/// Plays a region of the open file, loops it with or without a pause, and reports the play head.
/// One instance for the application, see shared().
///
/// It decides which frames a region has, what follows at its end, and which completions are stale.
/// While a segment plays, it keeps the graph informed of what will follow, so that a loop continues
/// without waiting for the main thread. At the end of each pass it still decides, and adopts the
/// pass that is already playing if that is the one it wants.
///
/// Main thread only, except Open; completions of the graph are posted there. The model is held
/// weakly and is authoritative for speed, pitch and equaliser, which cannot be read back here.
class AudioEngine : public std::enable_shared_from_this<AudioEngine> {
  public:
    /// Centre frequencies of the equaliser bands in Hz, in band order.
    static constexpr std::array<float, 5> eqFrequencies = {60, 250, 1000, 4000, 12000};

    /// Opens a file for playing, off the main thread. Throws AudioFileError.
    using Open = std::function<std::shared_ptr<AudioFile>(const QUrl& url)>;
    static std::shared_ptr<AudioFile> openLocally(const QUrl& url);

    /// The application's instance, on the default sound device.
    static std::shared_ptr<AudioEngine> shared();

    /// Starts with five peaking bands, an octave wide, at 0 dB, bypassed.
    static std::shared_ptr<AudioEngine> create(std::unique_ptr<AudioGraph> graph,
                                               MainQueue& mainQueue, Open open = openLocally);
    ~AudioEngine();

    /// The model to read the region from and write the play head to; not kept alive.
    void setAppState(std::weak_ptr<PlaybackModel> appState);

    /// Stops, opens `url` off the main thread (without waiting for other files being opened), and
    /// makes it the file to play unless a later load has begun. Returns the opened file either way.
    /// Throws AudioFileError; the previous file then stays, stopped.
    QCoro::Task<std::shared_ptr<AudioFile>> load(QUrl url);

    /// Plays from `start` to `end` (seconds in the file) and returns whether it does. No effect
    /// without a file or unless start < end; only stops if there is no whole frame between them.
    /// The caller sets the model's isPlaying.
    bool play(double start, double end);
    void stop();
    /// Holds playback until the next play(), including a pass that is about to follow.
    void pause();

    void setRate(float rate);   ///< 1.0 is normal speed
    void setPitch(float cents); ///< transposition
    void setEQEnabled(bool enabled);
    void setEQGain(double gain, int band); ///< dB; other bands than 0 to 4 are ignored

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
    void expectStart();
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
    std::int64_t generation_ = 0; ///< increased by every stop and every new segment
    bool isPaused_ = false;       ///< until the next stop or segment
    std::int64_t newestLoad_ = 0;
    std::optional<Announcement> announced_; ///< what the graph has been told
    std::int64_t announcements_ = 0;        ///< number of announcements so far
    std::unique_ptr<RepeatingTimer> positionTimer_;
    double fileStart_ = 0; ///< seconds; start of the current pass
    std::weak_ptr<PlaybackModel> appState_;
    std::shared_ptr<void> loopObservation_;
};

} // namespace ambrel
