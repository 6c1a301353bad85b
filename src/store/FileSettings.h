#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <QByteArray>

namespace ambrel {

/// The settings of a file: region, speed, pitch, equaliser and loop.
struct FileSettings {
    double regionStart = 0; ///< seconds from the file's start
    double regionEnd = 0;   ///< seconds from the file's start
    double speed = 100;     ///< percent, 100 is normal
    double speedStep = 5;   ///< percentage points
    double pitch = 0;       ///< cents
    bool eqEnabled = false;
    std::vector<double> eqGains = {0, 0, 0, 0, 0}; ///< dB, for 60, 250, 1000, 4000, 12000 Hz
    bool loopEnabled = false;
    std::int64_t loopDelaySeconds = 0;      ///< whole seconds of the pause between passes
    std::int64_t loopDelayMilliseconds = 0; ///< milliseconds of the pause, added to the seconds

    bool operator==(const FileSettings&) const = default;

    /// Encodes as compact JSON; absent if a number is not finite.
    std::optional<QByteArray> encoded() const;

    /// Decodes a record. All ten members must be present with their types; others are ignored, and
    /// values are not range-checked. Absent if the record is invalid.
    static std::optional<FileSettings> decoded(const QByteArray& json);
};

} // namespace ambrel
