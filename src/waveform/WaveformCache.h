#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include <QStringList>
#include <QUrl>

#include "waveform/WaveformCacheIndex.h"

namespace ambrel {

class Preferences;

/// The cached peaks of every file opened, one record each under "waveformCache." + the file's path
/// (docs/storage.md). A record is valid while the file has the size and, to the second, the
/// modification date recorded.
///
/// Any thread may call everything. get() and set() access the file and may wait for the store, so
/// call them off the main thread. Errors are not reported: what cannot be read is a miss, what
/// cannot be written is not cached.
class WaveformCache {
  public:
    /// Reads the limits, or stores the defaults of 180 days and 100 MB.
    explicit WaveformCache(Preferences& defaults);

    static WaveformCache& shared();

    /// The file's peaks; absent if there is no valid record. Updates the record's last use, or
    /// removes it if it does not match the file.
    std::optional<std::vector<float>> get(const QUrl& file);

    /// Stores the file's peaks, then evicts records beyond the limits.
    void set(const std::vector<float>& peaks, const QUrl& file);

    /// Removes all records, valid or not.
    void clearAll();

    /// Size of all records as stored, in bytes: a third more than the peaks alone, to which the
    /// size limit applies.
    std::int64_t totalBytes() const;

    /// The keys of all records.
    QStringList entryKeys() const;

    /// Records unused for longer are evicted; absent for no limit. Takes effect at the next set(),
    /// as does the size limit.
    std::optional<double> maxAgeSeconds() const;
    void setMaxAgeSeconds(std::optional<double> seconds);

    /// Limit for the peaks of all records, 4 bytes each; absent for no limit.
    std::optional<std::int64_t> maxTotalBytes() const;
    void setMaxTotalBytes(std::optional<std::int64_t> bytes);

  private:
    void loadSettings();
    void saveSettings();
    void evict();

    Preferences& defaults_;

    mutable std::mutex limitsMutex_; ///< guards the limits
    std::optional<double> maxAgeSeconds_;
    std::optional<std::int64_t> maxTotalBytes_;

    std::mutex evictionMutex_; ///< one eviction at a time; guards the index
    WaveformCacheIndex index_;
};

} // namespace ambrel
