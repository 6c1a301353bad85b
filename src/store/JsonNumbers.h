#pragma once

#include <cmath>
#include <cstdint>

#include <QJsonValue>

namespace ambrel {

/// Reads a number. False if it is not one, or not finite.
inline bool readNumber(const QJsonValue& value, double& number) {
    number = value.toDouble();
    return value.isDouble() && std::isfinite(number);
}

/// Reads a whole number, also one written with a fraction of 0. False if it is not one, or beyond
/// 64 bits.
inline bool readNumber(const QJsonValue& value, std::int64_t& number) {
    number = value.toInteger(0);
    return value.isDouble() && value.toInteger(1) == number; // not the default: whole and in range
}

} // namespace ambrel
