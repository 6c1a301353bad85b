#pragma once

#include <cstdint>

#include <QCoroTask>
#include <QObject>

#include "platform/desktop/BackgroundQueue.h"

namespace ambrel {

class MainQueue;
class SettingsStore;
class WaveformCache;

/// Counts what the waveform cache holds, and clears it together with every file's settings. With
/// thousands of waveforms either takes longer than a frame of the screen lasts, so both are done
/// off the main thread. Made, called and ended on the main thread.
class CacheMaintenance : public QObject {
    Q_OBJECT

  public:
    struct Stats {
        qsizetype entryCount = 0;
        std::int64_t totalBytes = 0; ///< as stored
    };

    /// All three outlive it.
    CacheMaintenance(WaveformCache& cache, SettingsStore& settings, MainQueue& mainQueue);

    /// Carries out a clear that has not begun, and waits for one that has.
    ~CacheMaintenance() override;

    /// Counts, and then emits statsRefreshed(). Calls that come while it counts are answered by one
    /// more count.
    void refreshStats();

    /// Clears, then counts. Figures from before are never emitted after those.
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
    BackgroundQueue queue_; ///< last: it waits for work that uses the rest
};

} // namespace ambrel
