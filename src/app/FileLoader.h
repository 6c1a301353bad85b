#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QCoroTask>
#include <QUrl>
#include <QUuid>

#include "platform/desktop/BackgroundQueue.h"
#include "waveform/WaveformGenerator.h"

namespace ambrel {

class AppState;
class AudioEngine;
class MainQueue;
class RecentFilesStore;
class SettingsStore;
class WaveformCache;

/// Opens a file completely: saves the settings of the previous one, opens it in the engine, checks
/// its length, applies saved or default settings, gets the waveform from the cache or computes it,
/// and adds the file to the recent ones. Owned by ContentView.
///
/// The newest load wins: each has an identifier, and an older one changes nothing visible any more.
/// Main thread only; opening and reading run on other threads.
class FileLoader {
  public:
    /// Receives the message for the error alert.
    using ErrorHandler = std::function<void(const QString& message)>;

    /// Computes the waveform; as WaveformGenerator::extract.
    using Extract = std::function<std::vector<float>(const QUrl& url,
                                                     const WaveformGenerator::Progress& progress,
                                                     const std::atomic<bool>& ending)>;

    FileLoader(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
               SettingsStore& settings, WaveformCache& waveformCache, RecentFilesStore& recentFiles,
               MainQueue& mainQueue, ErrorHandler showError,
               Extract extract = WaveformGenerator::extract);

    /// Stops generators at their next read and waits for them. Loads do nothing afterwards, and
    /// incomplete waveforms are not cached.
    ~FileLoader();

    FileLoader(const FileLoader&) = delete;
    FileLoader& operator=(const FileLoader&) = delete;

    /// Starts a load and returns at once. `restoreSettings` applies the saved settings instead of
    /// the defaults. Errors are reported later, never from this call.
    void loadFile(const QUrl& url, bool restoreSettings);

  private:
    /// One load in progress. The loader may be gone by the time a step runs.
    struct Load {
        QUrl url;
        bool restoreSettings = false;
        QUuid id;
        std::weak_ptr<const QUuid> newest;

        bool isLoaderAlive() const { return !newest.expired(); }
        bool isNewest() const;
    };

    QCoro::Task<> perform(Load load);
    void prepare(const Load& load, double duration);
    auto startWaveform(const Load& load);
    std::vector<float> waveform(const Load& load);
    void finish(const Load& load, std::vector<float> peaks);
    void postMessage(const Load& load, const QString& message);
    void fail(const QString& message);

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    SettingsStore& settings_;
    WaveformCache& waveformCache_;
    RecentFilesStore& recentFiles_;
    MainQueue& mainQueue_;
    ErrorHandler showError_;
    Extract extract_;
    std::shared_ptr<QUuid> currentLoadID_ = std::make_shared<QUuid>(QUuid::createUuid());
    std::int64_t loadCount_ = 0;
    std::atomic<bool> ending_ = false;
    BackgroundQueue generators_;
};

} // namespace ambrel
