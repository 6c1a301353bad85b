#include "app/TimeText.h"

#include <algorithm>
#include <cstdint>

namespace ambrel {

QString timeText(double seconds, int minuteDigits) {
    // Any larger number of milliseconds no longer fits the integer.
    constexpr double largest = 9e18;
    const auto total = std::int64_t(std::min(std::max(0.0, seconds * 1000), largest));
    const QChar zero = u'0';
    return QStringLiteral("%1:%2.%3")
        .arg(total / 60000, minuteDigits, 10, zero)
        .arg(total / 1000 % 60, 2, 10, zero)
        .arg(total % 1000, 3, 10, zero);
}

} // namespace ambrel
