#pragma once

#include <cstdint>

#include <QString>

namespace ambrel {

/// A time as minutes, seconds and milliseconds: "1:23.045", or "01:23.045" with two minute digits.
///
/// Milliseconds are truncated and minutes never fold into hours. Negative times and NaN give zero.
QString timeText(double seconds, int minuteDigits = 1);

/// The same time in words, as a screen reader says it: "1 minute 23.045 seconds".
QString spokenTime(double seconds);

/// The time in whole milliseconds, truncated; zero for negative times and NaN.
std::int64_t wholeMilliseconds(double seconds);

/// The inverse: wholeMilliseconds() gives back `milliseconds`.
double secondsOf(std::int64_t milliseconds);

} // namespace ambrel
