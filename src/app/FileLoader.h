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

/// Opens a file from beginning to end: saves the settings of the one it replaces, opens it in the
/// engine, checks its length, sets the defaults or the saved settings, fetches the waveform from
/// the cache or makes it, and puts the file first among the recent ones.
///
/// The newest load wins: each carries an identifier, and the steps of an older one that would
/// change what is seen are skipped. Main thread only; opening and reading run off it.
class FileLoader {
  public:
    /// The longest file that is accepted, in seconds.
    static constexpr double maximumDuration = 59999.999;

    /// Receives the sentence for the error alert.
    using ErrorHandler = std::function<void(const QString& message)>;

    /// How the waveform is made; as WaveformGenerator::extract.
    using Extract = std::function<std::vector<float>(const QUrl& url,
                                                     const WaveformGenerator::Progress& progress,
                                                     const std::atomic<bool>& ending)>;

    FileLoader(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
               SettingsStore& settings, WaveformCache& waveformCache, RecentFilesStore& recentFiles,
               MainQueue& mainQueue, ErrorHandler showError,
               Extract extract = WaveformGenerator::extract);

    /// Stops generators at their next read and waits for them. No load does anything afterwards,
    /// and half a waveform is not kept.
    ~FileLoader();

    FileLoader(const FileLoader&) = delete;
    FileLoader& operator=(const FileLoader&) = delete;

    /// Starts a load and returns at once. With `restoreSettings` the saved settings are applied,
    /// otherwise the file starts with the defaults. Errors are shown later, never from this call.
    void loadFile(const QUrl& url, bool restoreSettings);

  private:
    /// One load, as its steps carry it. The loader may be gone when a step comes to run.
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
