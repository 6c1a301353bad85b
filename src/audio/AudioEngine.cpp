#include "audio/AudioEngine.h"

#include <algorithm>
#include <utility>

#include "audio/PlaybackModel.h"
#include "audio/SoundEngineGraph.h"
#include "platform/sound/AudioFile.h"

namespace ambrel {
namespace {

constexpr std::chrono::milliseconds kPositionInterval{50};
constexpr float kBandwidthOctaves = 1;

/// The frame at `seconds`, fractions cut off towards zero. Far beyond any file it stays at a bound
/// whose sums and differences fit the type.
std::int64_t frameAt(double seconds, int sampleRateHz) {
    constexpr double bound = std::int64_t{1} << 61;
    return static_cast<std::int64_t>(std::clamp(seconds * sampleRateHz, -bound, bound));
}

} // namespace

std::shared_ptr<AudioEngine> AudioEngine::shared() {
    static const auto instance = create(std::make_unique<SoundEngineGraph>(), MainQueue::shared());
    return instance;
}

std::shared_ptr<AudioEngine> AudioEngine::create(std::unique_ptr<EngineGraph> graph,
                                                 MainQueue& mainQueue) {
    return std::shared_ptr<AudioEngine>(new AudioEngine(std::move(graph), mainQueue));
}

AudioEngine::AudioEngine(std::unique_ptr<EngineGraph> graph, MainQueue& mainQueue)
    : mainQueue_(mainQueue), engine_(std::move(graph)), opens_(mainQueue, 1) {
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
}

QCoro::Task<std::shared_ptr<AudioFile>> AudioEngine::load(QUrl url) {
    const auto thisLoad = ++newestLoad_;
    stop();
    auto open = [graph = engine_.get(), url] { return graph->open(url); };
    auto opening = opens_.run(std::move(open));

    std::shared_ptr<AudioFile> file;
    std::exception_ptr error;
    try {
        file = co_await opening;
    } catch (const std::exception&) {
        error = std::current_exception();
    }
    if (thisLoad == newestLoad_) {
        stop(); // the earlier file may have been started in the meantime
        if (file)
            audioFile_ = file;
    }
    if (error)
        std::rethrow_exception(error);
    co_return file;
}

void AudioEngine::play(double start, double end) {
    if (!audioFile_ || !(start < end))
        return;
    stop();
    const auto startFrame = frameAt(start, audioFile_->sampleRate());
    const auto frameCount = frameAt(end, audioFile_->sampleRate()) - startFrame;
    if (frameCount <= 0)
        return;
    const auto segment = ++generation_;
    if (!engine_->isRunning())
        engine_->start();
    // The hop comes first: a reference held on the graph's thread could be the last one there.
    auto completion = [weak = weak_from_this(), &mainQueue = mainQueue_, segment] {
        mainQueue.async([weak, segment] {
            if (const auto self = weak.lock())
                self->handleCompletion(segment);
        });
    };
    engine_->scheduleSegment(audioFile_, startFrame, frameCount, std::move(completion));
    engine_->play();
    startPositionTimer(start);
}

void AudioEngine::stop() {
    ++generation_;
    engine_->stop();
    positionTimer_.reset();
}

void AudioEngine::pause() {
    engine_->pause();
    positionTimer_.reset();
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

void AudioEngine::handleCompletion(std::int64_t generation) {
    const auto appState = appState_.lock();
    if (generation != generation_ || !appState)
        return;
    if (appState->loopEnabled())
        repeat(generation, *appState);
    else
        finish(generation, appState);
}

void AudioEngine::repeat(std::int64_t generation, const PlaybackModel& appState) {
    const double start = appState.regionStart();
    const double end = appState.regionEnd();
    const std::chrono::duration<double> delay(
        static_cast<double>(appState.loopDelayMilliseconds()) / 1000 +
        static_cast<double>(appState.loopDelaySeconds()));
    if (delay.count() <= 0) {
        play(start, end);
        return;
    }
    // The timer runs on: the position rests at the region's end.
    mainQueue_.asyncAfter(delay, [weak = weak_from_this(), generation, start, end] {
        const auto self = weak.lock();
        if (self && self->generation_ == generation)
            self->play(start, end);
    });
}

void AudioEngine::finish(std::int64_t generation, const std::shared_ptr<PlaybackModel>& appState) {
    positionTimer_.reset();
    appState->setPlaybackPosition(appState->regionEnd());
    // The play head is seen at the end before it goes back.
    mainQueue_.async([weak = weak_from_this(), generation, appState] {
        const auto self = weak.lock();
        if (!self || self->generation_ != generation)
            return;
        appState->setIsPlaying(false);
        appState->setPlaybackPosition(appState->regionStart());
    });
}

void AudioEngine::startPositionTimer(double fileStart) {
    auto tick = [weak = weak_from_this(), fileStart] {
        if (const auto self = weak.lock())
            self->writePosition(fileStart);
    };
    positionTimer_ = std::make_unique<RepeatingTimer>(kPositionInterval, std::move(tick));
}

void AudioEngine::writePosition(double fileStart) {
    const auto appState = appState_.lock();
    const auto frames = engine_->playerTime();
    if (!appState || !audioFile_ || !frames)
        return;
    const double position = *frames / audioFile_->sampleRate() + fileStart;
    appState->setPlaybackPosition(std::min(position, appState->regionEnd()));
}

} // namespace ambrel
