#include "store/FileSettings.h"

#include <algorithm>
#include <cmath>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "store/JsonNumbers.h"

namespace ambrel {
namespace {

/// Maps a record's members to fields, for both directions.
template <typename Settings, typename Visitor>
bool forEachMember(Settings& settings, const Visitor& visit) {
    return visit(QStringLiteral("regionStart"), settings.regionStart) &&
           visit(QStringLiteral("regionEnd"), settings.regionEnd) &&
           visit(QStringLiteral("speed"), settings.speed) &&
           visit(QStringLiteral("speedStep"), settings.speedStep) &&
           visit(QStringLiteral("pitch"), settings.pitch) &&
           visit(QStringLiteral("eqEnabled"), settings.eqEnabled) &&
           visit(QStringLiteral("eqGains"), settings.eqGains) &&
           visit(QStringLiteral("loopEnabled"), settings.loopEnabled) &&
           visit(QStringLiteral("loopDelaySeconds"), settings.loopDelaySeconds) &&
           visit(QStringLiteral("loopDelayMilliseconds"), settings.loopDelayMilliseconds);
}

/// Adds a field to the object; false when it has no JSON form.
struct Writer {
    QJsonObject& object;

    bool operator()(const QString& name, double number) const {
        object.insert(name, number);
        return std::isfinite(number);
    }
    bool operator()(const QString& name, bool flag) const {
        object.insert(name, flag);
        return true;
    }
    bool operator()(const QString& name, std::int64_t number) const {
        object.insert(name, qint64(number));
        return true;
    }
    bool operator()(const QString& name, const std::vector<double>& numbers) const {
        QJsonArray array;
        for (const double number : numbers)
            array.append(number);
        object.insert(name, array);
        return std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); });
    }
};

template <typename Number> bool read(const QJsonValue& value, Number& number) {
    return readNumber(value, number);
}

bool read(const QJsonValue& value, bool& flag) {
    flag = value.toBool();
    return value.isBool();
}

bool read(const QJsonValue& value, std::vector<double>& numbers) {
    numbers.clear();
    for (const auto element : value.toArray()) {
        if (!readNumber(element, numbers.emplace_back()))
            return false;
    }
    return value.isArray();
}

} // namespace

std::optional<QByteArray> FileSettings::encoded() const {
    QJsonObject object;
    if (!forEachMember(*this, Writer{object}))
        return {};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<FileSettings> FileSettings::decoded(const QByteArray& json) {
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    FileSettings settings;
    const auto reader = [&](const QString& name, auto& field) {
        return read(object.value(name), field);
    };
    if (!forEachMember(settings, reader))
        return {};
    return settings;
}

} // namespace ambrel
