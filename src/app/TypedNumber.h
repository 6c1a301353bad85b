#pragma once

#include <cstdint>
#include <optional>

#include <QString>

namespace ambrel {

/// Parsing and formatting of numbers as typed by users. Independent of locale: the decimal
/// separator is a point.

/// As strtod in the C locale, for the whole text: sign, decimals, exponent, inf, infinity and nan.
/// Absent for empty text or leading white space.
std::optional<double> typedNumber(const QString& text);

/// A value relative to `anchor`: "+" or "-" followed by what typedNumber() accepts. Absent for any
/// other text.
std::optional<double> typedChange(const QString& text, double anchor);

/// An optional sign and decimal digits. Absent for other text, and beyond 64 bits.
std::optional<std::int64_t> typedWholeNumber(const QString& text);

/// Removes surrounding blanks and tabs, but not line breaks.
QString trimmedBlanks(const QString& text);

/// `value` clamped to the bounds; NaN gives the upper one.
double clampedNumber(double value, double lowest, double highest);

/// The integer part in decimal, for any number in a stored record.
QString wholePart(double value);

/// As "%.1f" in the C locale, exactly: 6.25 gives 6.2 (Qt gives 6.3).
QString oneDecimal(double value);

/// With its unit, in the singular where it is one: "1 cent", "-2.5 cents".
QString counted(double number, const char* unit);

} // namespace ambrel
