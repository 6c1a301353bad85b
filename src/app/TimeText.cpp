#include "app/TimeText.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/TypedNumber.h"

namespace ambrel {

std::int64_t wholeMilliseconds(double seconds) {
    // Larger numbers of milliseconds do not fit the integer.
    constexpr double largest = 9e18;
    return std::int64_t(std::min(std::max(0.0, seconds * 1000), largest));
}

double secondsOf(std::int64_t milliseconds) {
    const double nearest = double(milliseconds) / 1000;
    // 1000 × 1.001 is slightly less than 1001 in floating point.
    return wholeMilliseconds(nearest) == milliseconds
               ? nearest
               : std::nextafter(nearest, std::numeric_limits<double>::infinity());
}

QString timeText(double seconds, int minuteDigits) {
    const std::int64_t total = wholeMilliseconds(seconds);
    const QChar zero = u'0';
    return QStringLiteral("%1:%2.%3")
        .arg(total / 60000, minuteDigits, 10, zero)
        .arg(total / 1000 % 60, 2, 10, zero)
        .arg(total % 1000, 3, 10, zero);
}

QString spokenTime(double seconds) {
    const std::int64_t total = wholeMilliseconds(seconds);
    const std::int64_t rest = total % 60000;
    QStringList parts;
    if (total >= 60000)
        parts << counted(std::floor(double(total) / 60000), "minute");
    if (rest > 0 || parts.isEmpty())
        parts << counted(double(rest) / 1000, "second");
    return parts.join(QLatin1Char(' '));
}

} // namespace ambrel
