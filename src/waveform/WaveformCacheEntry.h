#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include <QByteArray>

namespace ambrel {

/// A record of the waveform cache. Dates are seconds since 2001-01-01 00:00:00 UTC.
struct WaveformCacheEntry {
    QByteArray samplesData;    ///< the peaks, 4 bytes each: IEEE 754 binary32, little-endian
    std::int64_t fileSize = 0; ///< bytes, when the record was written
    double modDate = 0;        ///< modification date of the file, when the record was written
    double lastAccessed = 0;   ///< when the record was last written or used

    bool operator==(const WaveformCacheEntry&) const = default;

    /// Encodes as compact JSON, members in the order above; absent if a date is not finite.
    std::optional<QByteArray> encoded() const;

    /// Decodes a record; members in any order, others ignored. Absent if one is missing or of the
    /// wrong type, or the samples are not standard base64.
    static std::optional<WaveformCacheEntry> decoded(const QByteArray& json);

    /// What eviction needs to know of a record.
    struct Use {
        std::int64_t sampleBytes = 0;
        double lastAccessed = 0;
    };

    /// As decoded(), accepting the same records, in a fifth of the time.
    static std::optional<Use> decodedUse(const QByteArray& json);

    static double dateOf(std::chrono::system_clock::time_point time);
};

} // namespace ambrel
