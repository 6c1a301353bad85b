#pragma once

#include <cstdint>

#include <QCoroTask>
#include <QObject>

#include "platform/desktop/BackgroundQueue.h"

namespace ambrel {

class MainQueue;
class SettingsStore;
class WaveformCache;

/// Measures the waveform cache, and clears it together with the settings of all files. With
/// thousands of waveforms both take longer than a screen refresh, so they run off the main thread.
/// Create, call and destroy on the main thread.
class CacheMaintenance : public QObject {
    Q_OBJECT

  public:
    struct Stats {
        qsizetype entryCount = 0;
        std::int64_t totalBytes = 0; ///< as stored
    };

    /// All three must outlive it.
    CacheMaintenance(WaveformCache& cache, SettingsStore& settings, MainQueue& mainQueue);

    /// Completes a clear that is queued or running.
    ~CacheMaintenance() override;

    /// Measures, then emits statsRefreshed(). Calls made meanwhile result in one more measurement.
    void refreshStats();

    /// Clears, then measures. Figures from before the clear are not emitted after it.
    void clearAll();

  Q_SIGNALS:
    void statsRefreshed(const ambrel::CacheMaintenance::Stats& stats);

  private:
    QCoro::Task<> work();
    void clear();
    Stats stats() const;

    WaveformCache& cache_;
    SettingsStore& settings_;
    bool isWorking_ = false;
    bool isCountWanted_ = false;
    bool isClearWanted_ = false;
    BackgroundQueue queue_; ///< last: its destructor waits for work that uses the rest
};

} // namespace ambrel
