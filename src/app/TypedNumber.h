#pragma once

#include <cstdint>
#include <optional>

#include <QString>

namespace ambrel {

/// What a user types as a number. The user's locale never matters: the decimal sign is a point.

/// As strtod of the C locale, which must take the whole text: sign, decimals, exponent, also inf,
/// infinity and nan. Absent for an empty text and one that begins with white space.
std::optional<double> typedNumber(const QString& text);

/// A change against `anchor`: "+" or "-", and then what typedNumber() takes. Absent for every other
/// text.
std::optional<double> typedChange(const QString& text, double anchor);

/// An optional sign and decimal digits, nothing else. Absent also beyond 64 bits.
std::optional<std::int64_t> typedWholeNumber(const QString& text);

/// Without the blanks and tabs around it; line breaks stay.
QString trimmedBlanks(const QString& text);

/// `value` kept between two bounds; the upper one for what is not a number.
double clampedNumber(double value, double lowest, double highest);

/// The whole part in decimal, for any number that a stored record can hold.
QString wholePart(double value);

/// As "%.1f" of the C locale, exactly: 6.25, which lies in the middle, is 6.2, and not 6.3 as Qt
/// has it.
QString oneDecimal(double value);

} // namespace ambrel
