#include "ui/settings/LimitPresets.h"

namespace ambrel {

const SizePresets& sizePresets() {
    static const SizePresets presets = {{
        {QStringLiteral("1 MB"), 1 * kBytesPerMB},
        {QStringLiteral("50 MB"), 50 * kBytesPerMB},
        {QStringLiteral("100 MB"), 100 * kBytesPerMB},
        {QStringLiteral("Unlimited"), {}},
        {QStringLiteral("Custom"), {}},
    }};
    return presets;
}

const AgePresets& agePresets() {
    static const AgePresets presets = {{
        {QStringLiteral("7 days"), 7 * kSecondsPerDay},
        {QStringLiteral("14 days"), 14 * kSecondsPerDay},
        {QStringLiteral("1 month"), 30 * kSecondsPerDay},
        {QStringLiteral("6 months"), 180 * kSecondsPerDay},
        {QStringLiteral("1 year"), 365 * kSecondsPerDay},
        {QStringLiteral("Indefinite"), {}},
        {QStringLiteral("Custom"), {}},
    }};
    return presets;
}

} // namespace ambrel
