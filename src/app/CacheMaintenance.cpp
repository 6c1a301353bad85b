#include "app/CacheMaintenance.h"

#include <utility>

#include "store/SettingsStore.h"
#include "waveform/WaveformCache.h"

namespace ambrel {

CacheMaintenance::CacheMaintenance(WaveformCache& cache, SettingsStore& settings,
                                   MainQueue& mainQueue)
    : cache_(cache), settings_(settings), queue_(mainQueue, 1) {}

CacheMaintenance::~CacheMaintenance() = default;

void CacheMaintenance::refreshStats() {
    isCountWanted_ = true;
    work();
}

void CacheMaintenance::clearAll() {
    isClearWanted_ = true;
    refreshStats();
}

QCoro::Task<> CacheMaintenance::work() {
    if (std::exchange(isWorking_, true))
        co_return;
    while (std::exchange(isCountWanted_, false)) {
        const bool clears = std::exchange(isClearWanted_, false);
        auto job = [this, clears] {
            if (clears)
                clear();
            return stats();
        };
        auto counting = queue_.run(job);
        try {
            const Stats counted = co_await counting;
            if (!isClearWanted_) // otherwise they are about to be outdated
                Q_EMIT statsRefreshed(counted);
        } catch (const BackgroundQueue::Ended&) { // being destroyed, see the destructor
            if (clears || isClearWanted_)
                clear();
            co_return;
        }
    }
    isWorking_ = false;
}

/// Settings first: they are deleted before the next change of the open file can be saved.
void CacheMaintenance::clear() {
    settings_.clearAll();
    cache_.clearAll();
}

CacheMaintenance::Stats CacheMaintenance::stats() const {
    return {cache_.entryKeys().size(), cache_.totalBytes()};
}

} // namespace ambrel
