#pragma once

#include <cmath>
#include <cstdint>

#include <QJsonValue>

namespace ambrel {

/// Reads a record's number as it stands. False when it is none, or not finite.
inline bool readNumber(const QJsonValue& value, double& number) {
    number = value.toDouble();
    return value.isDouble() && std::isfinite(number);
}

/// Reads a record's whole number, also when written with a fraction of 0. False when it is none, or
/// beyond 64 bits.
inline bool readNumber(const QJsonValue& value, std::int64_t& number) {
    number = value.toInteger(0);
    return value.isDouble() && value.toInteger(1) == number; // no default: whole, and it fits
}

} // namespace ambrel
