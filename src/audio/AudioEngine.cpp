#include "audio/AudioEngine.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "audio/LocalPath.h"
#include "audio/PlaybackModel.h"
#include "platform/sound/AudioFile.h"
#include "platform/sound/device/DeviceOutput.h"

namespace ambrel {
namespace {

constexpr std::chrono::milliseconds kPositionInterval{50};
constexpr float kBandwidthOctaves = 1;

/// Files on a disk that does not answer may be opening for ever; there is room for others.
constexpr int kOpenThreads = 64;

/// The frame at `seconds`, fractions cut off towards zero. Far beyond any file it stays at a bound
/// whose sums and differences fit the type.
std::int64_t frameAt(double seconds, int sampleRateHz) {
    constexpr double bound = std::int64_t{1} << 48;
    return static_cast<std::int64_t>(std::clamp(seconds * sampleRateHz, -bound, bound));
}

double pauseOf(const PlaybackModel& appState) {
    return static_cast<double>(appState.loopDelayMilliseconds()) / 1000 +
           static_cast<double>(appState.loopDelaySeconds());
}

} // namespace

std::shared_ptr<AudioEngine> AudioEngine::shared() {
    static const auto instance =
        create(AudioGraph::create(std::make_unique<DeviceOutput>()), MainQueue::shared());
    return instance;
}

std::shared_ptr<AudioFile> AudioEngine::openLocally(const QUrl& url) {
    return AudioFile::open(localPath(url));
}

std::shared_ptr<AudioEngine> AudioEngine::create(std::unique_ptr<AudioGraph> graph,
                                                 MainQueue& mainQueue, Open open) {
    return std::shared_ptr<AudioEngine>(
        new AudioEngine(std::move(graph), mainQueue, std::move(open)));
}

AudioEngine::AudioEngine(std::unique_ptr<AudioGraph> graph, MainQueue& mainQueue, Open open)
    : mainQueue_(mainQueue), engine_(std::move(graph)), open_(std::move(open)),
      opens_(mainQueue, kOpenThreads) {
    setupEngine();
}

AudioEngine::~AudioEngine() = default;

void AudioEngine::setupEngine() {
    for (std::size_t band = 0; band < eqFrequencies.size(); ++band)
        engine_->setEqualiserBand(static_cast<int>(band), eqFrequencies[band], kBandwidthOctaves,
                                  0);
    engine_->setEqualiserBypass(true);
}

void AudioEngine::setAppState(std::weak_ptr<PlaybackModel> appState) {
    appState_ = std::move(appState);
    loopObservation_.reset();
    if (const auto model = appState_.lock())
        loopObservation_ = model->observeLoop([weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->announce();
        });
}

QCoro::Task<std::shared_ptr<AudioFile>> AudioEngine::load(QUrl url) {
    const auto thisLoad = ++newestLoad_;
    stop();
    auto open = [open = open_, url] { return open(url); };
    auto opening = opens_.run(std::move(open), thisLoad); // the newest first

    std::shared_ptr<AudioFile> file;
    std::exception_ptr error;
    try {
        file = co_await opening;
    } catch (const std::exception&) {
        error = std::current_exception();
    }
    if (thisLoad == newestLoad_) {
        stop(); // the earlier file may have been started in the meantime
        // The earlier file is closed off the main thread: its disk may not answer.
        if (file)
            static_cast<void>(opens_.run([former = std::exchange(audioFile_, file)] {}));
    }
    if (error)
        std::rethrow_exception(error);
    co_return file;
}

bool AudioEngine::play(double start, double end) {
    if (!audioFile_ || !(start < end))
        return false;
    stop();
    const auto frames = segment(start, end);
    if (!frames)
        return false;
    const auto generation = ++generation_;
    if (!engine_->isRunning())
        engine_->start();
    renewAnnouncement();
    engine_->scheduleSegment(audioFile_, frames->startFrame, frames->frameCount,
                             completionOf(generation), announced_);
    engine_->play();
    startPositionTimer(start);
    return true;
}

/// The frames from `start` to `end`; none if there is not one.
std::optional<Announcement> AudioEngine::segment(double start, double end) const {
    if (!(start < end)) // nor is either of them NaN then
        return std::nullopt;
    const auto startFrame = frameAt(start, audioFile_->sampleRate());
    const auto frameCount = frameAt(end, audioFile_->sampleRate()) - startFrame;
    if (frameCount <= 0)
        return std::nullopt;
    return Announcement{.startFrame = startFrame, .frameCount = frameCount};
}

AudioEngine::Completion AudioEngine::completionOf(std::int64_t segment) {
    // The hop comes first: a reference held on the graph's thread could be the last one there.
    return [weak = weak_from_this(), &mainQueue = mainQueue_, segment] {
        mainQueue.async([weak, segment] {
            if (const auto self = weak.lock())
                self->handleCompletion(segment);
        });
    };
}

/// What follows a pass that ends now. It has no id yet.
std::optional<Announcement> AudioEngine::following() const {
    const auto appState = appState_.lock();
    if (!appState || !audioFile_ || !appState->loopEnabled())
        return std::nullopt;
    auto next = segment(appState->regionStart(), appState->regionEnd());
    if (next)
        next->pauseSeconds = pauseOf(*appState);
    return next;
}

/// False if the graph was told already.
bool AudioEngine::renewAnnouncement() {
    auto next = following();
    if (next && announced_)
        next->id = announced_->id;
    if (next == announced_)
        return false;
    announced_ = next;
    if (announced_)
        announced_->id = ++announcements_;
    return true;
}

void AudioEngine::announce() {
    if (renewAnnouncement())
        engine_->announce(announced_);
    expectStart();
}

/// Playback starts where the region does.
void AudioEngine::expectStart() {
    const auto appState = appState_.lock();
    if (appState && audioFile_ && !positionTimer_ && std::isfinite(appState->regionStart()))
        engine_->expect(audioFile_, frameAt(appState->regionStart(), audioFile_->sampleRate()));
}

/// Plays on at the end of a pass: what runs on already, if it is this, and anew otherwise.
void AudioEngine::playNext(double start, double end, std::int64_t announcement) {
    if (engine_->adopt(announcement, completionOf(generation_ + 1))) {
        ++generation_;
        fileStart_ = start;
    } else if (!play(start, end)) { // the region has become empty
        stopAndRewind();
    }
}

void AudioEngine::stop() {
    ++generation_;
    isPaused_ = false;
    engine_->stop();
    positionTimer_.reset();
}

void AudioEngine::pause() {
    isPaused_ = true;
    engine_->pause();
    positionTimer_.reset();
    expectStart();
}

void AudioEngine::setRate(float rate) {
    engine_->setRate(rate);
}

void AudioEngine::setPitch(float cents) {
    engine_->setPitch(cents);
}

void AudioEngine::setEQEnabled(bool enabled) {
    engine_->setEqualiserBypass(!enabled);
}

void AudioEngine::setEQGain(double gain, int band) {
    if (band >= 0 && static_cast<std::size_t>(band) < eqFrequencies.size())
        engine_->setEqualiserGain(band, static_cast<float>(gain));
}

/// Whether the segment goes on: neither stopped nor replaced, nor resting until the next start.
bool AudioEngine::isPlaying(std::int64_t generation) const {
    return generation == generation_ && !isPaused_;
}

void AudioEngine::handleCompletion(std::int64_t generation) {
    const auto appState = appState_.lock();
    if (!isPlaying(generation))
        return;
    if (!appState) {
        stopWhatRunsOn();
        return;
    }
    if (appState->loopEnabled())
        repeat(generation, *appState);
    else
        finish(generation, appState);
}

void AudioEngine::repeat(std::int64_t generation, const PlaybackModel& appState) {
    const double start = appState.regionStart();
    const double end = appState.regionEnd();
    const double pause = pauseOf(appState);
    announce();
    const std::int64_t announcement = announced_ ? announced_->id : 0;
    if (pause <= 0) {
        playNext(start, end, announcement);
        return;
    }
    // The timer runs on: the position rests at the region's end.
    if (engine_->runningOn() != announcement) {
        writePosition(); // the end, which the graph forgets
        stopWhatRunsOn();
    }
    mainQueue_.asyncAfter(std::chrono::duration<double>(pause),
                          [weak = weak_from_this(), generation, start, end, announcement] {
                              const auto self = weak.lock();
                              if (self && self->isPlaying(generation))
                                  self->playNext(start, end, announcement);
                          });
}

void AudioEngine::finish(std::int64_t generation, const std::shared_ptr<PlaybackModel>& appState) {
    positionTimer_.reset();
    stopWhatRunsOn();
    appState->setPlaybackPosition(appState->regionEnd());
    // The play head is seen at the end before it goes back.
    mainQueue_.async([weak = weak_from_this(), generation, appState] {
        const auto self = weak.lock();
        if (self && self->isPlaying(generation))
            self->rewind();
    });
}

void AudioEngine::stopAndRewind() {
    stop();
    rewind();
}

void AudioEngine::rewind() {
    if (const auto appState = appState_.lock()) {
        appState->setIsPlaying(false);
        appState->setPlaybackPosition(appState->regionStart());
        expectStart();
    }
}

/// It was announced before the rules came to say something else.
void AudioEngine::stopWhatRunsOn() {
    if (engine_->runningOn())
        engine_->stop();
}

void AudioEngine::startPositionTimer(double fileStart) {
    fileStart_ = fileStart;
    auto tick = [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->writePosition();
    };
    positionTimer_ = std::make_unique<RepeatingTimer>(kPositionInterval, std::move(tick));
}

void AudioEngine::writePosition() {
    const auto appState = appState_.lock();
    const auto frames = engine_->playerTime();
    if (!appState || !audioFile_ || !frames)
        return;
    const double position = *frames / audioFile_->sampleRate() + fileStart_;
    appState->setPlaybackPosition(std::min(position, appState->regionEnd()));
}

} // namespace ambrel
