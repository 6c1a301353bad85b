#include "app/FileLoader.h"

#include <stdexcept>
#include <thread>
#include <utility>

#include "app/AppState.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "platform/desktop/MainQueue.h"
#include "platform/sound/AudioFile.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "waveform/WaveformCache.h"

namespace ambrel {
namespace {

/// The longest file accepted, in seconds.
constexpr double kMaximumDuration = 59999.999;

/// Older loads finish computing their waveforms; with several threads the newest need not wait.
int generatorThreads() {
    return static_cast<int>(std::thread::hardware_concurrency()) + 2;
}

double acceptedDuration(const std::shared_ptr<AudioFile>& file) {
    const double duration = static_cast<double>(file->length()) / file->sampleRate();
    if (duration > kMaximumDuration)
        throw std::runtime_error("File duration exceeds the maximum supported length "
                                 "(999:59.999).");
    return duration;
}

} // namespace

FileLoader::FileLoader(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                       SettingsStore& settings, WaveformCache& waveformCache,
                       RecentFilesStore& recentFiles, MainQueue& mainQueue, ErrorHandler showError,
                       Extract extract)
    : state_(std::move(state)), engine_(std::move(engine)), settings_(settings),
      waveformCache_(waveformCache), recentFiles_(recentFiles), mainQueue_(mainQueue),
      showError_(std::move(showError)), extract_(std::move(extract)),
      generators_(mainQueue, generatorThreads()) {}

FileLoader::~FileLoader() {
    currentLoadID_.reset();
    ending_ = true;
}

bool FileLoader::Load::isNewest() const {
    const auto current = newest.lock();
    return current && *current == id;
}

void FileLoader::loadFile(const QUrl& url, bool restoreSettings) {
    state_->saveSettings();
    *currentLoadID_ = QUuid::createUuid();
    state_->setLoadingState(LoadingState::loading(QStringLiteral("Opening file...")));
    state_->setAudioFileURL(url);
    state_->setWaveformSamples({});
    perform({url, restoreSettings, *currentLoadID_, currentLoadID_});
}

auto FileLoader::startWaveform(const Load& load) {
    auto work = [this, load] { return waveform(load); };
    // The newest starts before all that are waiting.
    return generators_.run(std::move(work), ++loadCount_);
}

/// Runs completely on a background thread, so that all it posts to the main thread, its result
/// included, arrives in order.
std::vector<float> FileLoader::waveform(const Load& load) {
    if (auto peaks = waveformCache_.get(load.url)) {
        postMessage(load, QStringLiteral("Loading cached waveform..."));
        return std::move(*peaks);
    }
    postMessage(load, QStringLiteral("Generating waveform..."));
    std::string last;
    const auto progress = [&](double, const std::string& message) {
        if (message != std::exchange(last, message))
            postMessage(load, QString::fromStdString(message));
    };
    auto peaks = extract_(load.url, progress, ending_);
    if (!ending_) // otherwise it may be incomplete
        waveformCache_.set(peaks, load.url);
    return peaks;
}

QCoro::Task<> FileLoader::perform(Load load) {
    // The loader may be gone after any co_await; then only `load` may be used.
    QString failure;
    try {
        auto opening = engine_->load(load.url);
        const double duration = acceptedDuration(co_await opening);
        if (!load.isLoaderAlive())
            co_return;
        if (load.isNewest())
            prepare(load, duration);

        auto fetching = startWaveform(load);
        auto peaks = co_await fetching;
        if (load.isNewest())
            finish(load, std::move(peaks));
        co_return;
    } catch (const BackgroundQueue::Ended&) {
        co_return;
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
    }
    if (load.isNewest())
        fail(failure);
}

void FileLoader::prepare(const Load& load, double duration) {
    state_->beginSettings(load.url); // changes made while it opened belong to the previous file
    state_->setAudioDuration(duration);
    state_->resetToDefaults(duration);
    if (load.restoreSettings) {
        if (const auto settings = settings_.load(load.url))
            state_->applySettings(*settings);
    }
    transport::pushSettings(*state_, *engine_);
}

void FileLoader::finish(const Load& load, std::vector<float> peaks) {
    state_->setWaveformSamples(std::move(peaks));
    state_->setLoadingState(LoadingState::loaded());
    recentFiles_.push(load.url);
    state_->setRecentFiles(recentFiles_.all());
}

void FileLoader::postMessage(const Load& load, const QString& message) {
    mainQueue_.async([this, load, message] {
        if (load.isNewest())
            state_->setLoadingState(LoadingState::loading(message));
    });
}

void FileLoader::fail(const QString& message) {
    state_->setLoadingState(LoadingState::idle());
    state_->setAudioFileURL(std::nullopt);
    showError_(message);
}

} // namespace ambrel
