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

/// The peaks of every file that was opened, one record each under "waveformCache." + the file's
/// path (docs/storage.md). A record is trusted while the file has the size and, to a second, the
/// modification date that it had when the record was written.
///
/// get() and set() look at the file and may wait for the store: they belong off the main thread.
/// Any thread may call everything. Nothing reports an error: what cannot be read is a miss, what
/// cannot be written is not kept.
class WaveformCache {
  public:
    /// Reads the limits, or takes 180 days and 100 MB, and stores them.
    explicit WaveformCache(Preferences& defaults);

    static WaveformCache& shared();

    /// The file's peaks; none when there is no record. Its record counts as used now; when it does
    /// not match the file, it goes.
    std::optional<std::vector<float>> get(const QUrl& file);

    /// Stores the file's peaks, then removes what lies beyond the limits.
    void set(const std::vector<float>& peaks, const QUrl& file);

    /// Removes every record, readable or not.
    void clearAll();

    /// The size of all records as stored, in bytes. It is a third larger than what the size limit
    /// compares, which is the peaks alone.
    std::int64_t totalBytes() const;

    /// The key of every record.
    QStringList entryKeys() const;

    /// A record that was not used for longer goes; absent for no limit. Takes effect with the next
    /// set(), as the size limit does.
    std::optional<double> maxAgeSeconds() const;
    void setMaxAgeSeconds(std::optional<double> seconds);

    /// The peaks of all records, 4 bytes each; absent for no limit.
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
