#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include <QCoroTask>
#include <QUrl>
#include <QUuid>

#include "platform/desktop/BackgroundQueue.h"

namespace ambrel {

class AppState;
class AudioEngine;
class MainQueue;
class SettingsStore;

/// Opens a file from beginning to end: saves the settings of the one it replaces, opens it in the
/// engine, checks its length, sets the defaults or the saved settings, and fetches the waveform.
///
/// The newest load wins: each carries an identifier, and the steps of an older one that would
/// change what is seen are skipped. Main thread only; opening and reading run off it.
class FileLoader {
  public:
    /// The longest file that is accepted, in seconds.
    static constexpr double maximumDuration = 59999.999;

    /// Receives the sentence for the error alert.
    using ErrorHandler = std::function<void(const QString& message)>;

    FileLoader(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
               SettingsStore& settings, MainQueue& mainQueue, ErrorHandler showError);

    /// Stops the generator at its next bucket and waits for running reads.
    ~FileLoader();

    /// Starts a load and returns at once. With `restoreSettings` the saved settings are applied,
    /// otherwise the file starts with the defaults.
    void loadFile(const QUrl& url, bool restoreSettings);

  private:
    QCoro::Task<> load(QUrl url, bool restoreSettings, QUuid loadID);

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    SettingsStore& settings_;
    MainQueue& mainQueue_;
    ErrorHandler showError_;
    QUuid currentLoadID_ = QUuid::createUuid();
    std::shared_ptr<std::atomic<bool>> ending_ = std::make_shared<std::atomic<bool>>(false);
    BackgroundQueue pool_;
};

} // namespace ambrel
