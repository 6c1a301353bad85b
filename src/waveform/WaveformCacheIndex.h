#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include "waveform/WaveformCacheEntry.h"

namespace ambrel {

/// Size and last use of every record, for eviction. Decoding thousands of records takes seconds, so
/// results are kept with a hash of the record, and only changed records are decoded again. One
/// thread at a time.
class WaveformCacheIndex {
  public:
    /// Starts a snapshot: call note() for every record, then endSnapshot().
    void beginSnapshot();
    void note(const QString& key, QByteArrayView json);
    void endSnapshot();

    /// Removes and returns the keys of all records last used before `cutoff`.
    QStringList takeOlderThan(double cutoff);

    /// Removes and returns the keys of the least recently used records (among equals the first)
    /// until the peaks of the rest take at most `bytes`.
    QStringList takeBeyond(std::int64_t bytes);

  private:
    struct Record {
        std::uint64_t hash = 0;
        qsizetype length = 0;       ///< of the JSON
        std::uint64_t snapshot = 0; ///< the last snapshot that contained it
        std::size_t place = 0;      ///< its position in that snapshot
        std::optional<WaveformCacheEntry::Use>
            use; ///< absent: invalid, neither counted nor evicted
    };

    std::map<QString, Record> records_;
    std::uint64_t snapshot_ = 0;
    std::size_t nextPlace_ = 0;
};

} // namespace ambrel
