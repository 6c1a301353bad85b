#pragma once

#include <cstdint>

#include <QString>

namespace ambrel {

/// A time as minutes, seconds and milliseconds: "1:23.045", or "01:23.045" with two minute digits.
///
/// Milliseconds are truncated and minutes never fold into hours. What is no time (negative, not a
/// number) reads as zero.
QString timeText(double seconds, int minuteDigits = 1);

/// The time in whole milliseconds, truncated, and zero for what is no time.
std::int64_t wholeMilliseconds(double seconds);

/// The time that many milliseconds are: wholeMilliseconds() gives them back.
double secondsOf(std::int64_t milliseconds);

} // namespace ambrel
