#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include <QByteArray>

namespace ambrel {

/// The record that the waveform cache keeps of a file. Dates are seconds since 2001-01-01 00:00:00
/// UTC.
struct WaveformCacheEntry {
    QByteArray samplesData;    ///< the peaks, 4 bytes each: IEEE 754 binary32, little-endian
    std::int64_t fileSize = 0; ///< bytes, when the record was written
    double modDate = 0;        ///< the file's, when the record was written
    double lastAccessed = 0;   ///< when the record was last written or served

    bool operator==(const WaveformCacheEntry&) const = default;

    /// The record as compact JSON, its members in the order above; absent when a date is not
    /// finite.
    std::optional<QByteArray> encoded() const;

    /// Reads a record back: the members in any order, further ones ignored. Absent when one is
    /// missing or mistyped, or the samples are not standard base64.
    static std::optional<WaveformCacheEntry> decoded(const QByteArray& json);

    /// What eviction asks of a record.
    struct Use {
        std::int64_t sampleBytes = 0;
        double lastAccessed = 0;
    };

    /// Of exactly the records that decoded() reads, in a fifth of the time.
    static std::optional<Use> decodedUse(const QByteArray& json);

    static double dateOf(std::chrono::system_clock::time_point time);
};

} // namespace ambrel
