// The typed readers of Preferences.

#include "platform/store/Preferences.h"

#include <cmath>

#include <QLocale>

namespace ambrel {
namespace {

template <typename T> std::optional<T> as(const std::optional<Preferences::Value>& value) {
    if (value && std::holds_alternative<T>(*value))
        return std::get<T>(*value);
    return {};
}

} // namespace

std::optional<QByteArray> Preferences::data(const QString& key) const {
    return as<QByteArray>(value(key));
}

std::optional<QString> Preferences::string(const QString& key) const {
    const auto found = value(key);
    if (const auto number = as<std::int64_t>(found))
        return QString::number(*number);
    if (const auto number = as<double>(found))
        return QString::number(*number, 'g', QLocale::FloatingPointShortest);
    return as<QString>(found);
}

std::optional<QStringList> Preferences::strings(const QString& key) const {
    return as<QStringList>(value(key));
}

std::optional<bool> Preferences::boolean(const QString& key) const {
    return as<bool>(value(key));
}

std::optional<std::int64_t> Preferences::integer(const QString& key) const {
    const auto found = value(key);
    if (const auto number = as<double>(found)) {
        constexpr double kLimit = 0x1p63;
        if (*number != std::trunc(*number) || *number < -kLimit || *number >= kLimit)
            return {};
        return static_cast<std::int64_t>(*number);
    }
    return as<std::int64_t>(found);
}

std::optional<double> Preferences::real(const QString& key) const {
    const auto found = value(key);
    if (const auto number = as<std::int64_t>(found))
        return static_cast<double>(*number);
    return as<double>(found);
}

} // namespace ambrel
