#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include "waveform/WaveformCacheEntry.h"

namespace ambrel {

/// What eviction wants to know of every record. Decoding thousands of them takes seconds, so what
/// was found is remembered with a hash of the record's bytes, and only those that have changed
/// since, by whichever program, are decoded again. Used by one thread at a time.
class WaveformCacheIndex {
  public:
    /// Takes in a new snapshot: the records that note() is called for between the two calls.
    void beginSnapshot();
    void note(const QString& key, QByteArrayView json);
    void endSnapshot();

    /// The keys of all records used last before `cutoff`, which are forgotten here.
    QStringList takeOlderThan(double cutoff);

    /// The keys of the records used longest ago (among equals the first) that have to go for the
    /// samples of the rest to take `bytes` at most, which are forgotten here.
    QStringList takeBeyond(std::int64_t bytes);

  private:
    struct Record {
        std::uint64_t hash = 0;
        qsizetype length = 0;                       ///< of the JSON
        std::uint64_t snapshot = 0;                 ///< the last one it was in
        std::size_t place = 0;                      ///< in that one
        std::optional<WaveformCacheEntry::Use> use; ///< none: neither counted nor evicted
    };

    std::map<QString, Record> records_;
    std::uint64_t snapshot_ = 0;
    std::size_t nextPlace_ = 0;
};

} // namespace ambrel
