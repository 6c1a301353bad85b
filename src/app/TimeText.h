#pragma once

#include <QString>

namespace ambrel {

/// A time as minutes, seconds and milliseconds: "1:23.045", or "01:23.045" with two minute digits.
///
/// Milliseconds are truncated and minutes never fold into hours. What is no time (negative, not a
/// number) reads as zero.
QString timeText(double seconds, int minuteDigits = 1);

} // namespace ambrel
