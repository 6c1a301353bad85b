#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include <QString>

namespace ambrel {

/// One limit offered in the settings window; absent for no limit, and for the custom one.
template <typename Limit> struct LimitPreset {
    QString label;
    std::optional<Limit> limit;
};

/// In the order shown on screen.
enum class SizePreset { one, fifty, hundred, unlimited, custom };
enum class AgePreset { seven, fourteen, oneMonth, sixMonths, oneYear, indefinite, custom };

using SizePresets = std::array<LimitPreset<std::int64_t>, 5>; ///< bytes
using AgePresets = std::array<LimitPreset<double>, 7>;        ///< seconds

const SizePresets& sizePresets();
const AgePresets& agePresets();

constexpr std::int64_t kBytesPerMB = 1048576;
constexpr double kSecondsPerDay = 86400;

/// The index of the preset with exactly that limit, or of the last (custom) if there is none.
template <typename Presets, typename Limit>
int placeOf(const std::optional<Limit>& limit, const Presets& presets) {
    const auto last = presets.end() - 1;
    const auto found = std::find_if(presets.begin(), last,
                                    [&](const auto& preset) { return preset.limit == limit; });
    return int(found - presets.begin());
}

} // namespace ambrel
