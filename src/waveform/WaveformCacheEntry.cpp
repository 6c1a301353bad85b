#include "waveform/WaveformCacheEntry.h"

#include <array>
#include <charconv>
#include <cmath>

#include <QJsonDocument>
#include <QJsonObject>

#include "store/JsonNumbers.h"

namespace ambrel {
namespace {

/// In plain decimal, as short as reads back.
QByteArray decimal(double number) {
    std::array<char, 400> digits; // the smallest has 325 places behind the point
    const auto end =
        std::to_chars(digits.begin(), digits.end(), number, std::chars_format::fixed).ptr;
    return {digits.data(), end - digits.data()};
}

std::optional<QByteArray> readBase64(const QJsonValue& value) {
    const QByteArray text = value.toString().toLatin1();
    auto bytes = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (!value.isString() || text.size() % 4 != 0 || !bytes)
        return {};
    return std::move(*bytes);
}

} // namespace

std::optional<QByteArray> WaveformCacheEntry::encoded() const {
    if (!std::isfinite(modDate) || !std::isfinite(lastAccessed))
        return {};
    return R"({"samplesData":")" + samplesData.toBase64().replace("/", R"(\/)") +
           R"(","fileSize":)" + QByteArray::number(qint64(fileSize)) + R"(,"modDate":)" +
           decimal(modDate) + R"(,"lastAccessed":)" + decimal(lastAccessed) + "}";
}

std::optional<WaveformCacheEntry> WaveformCacheEntry::decoded(const QByteArray& json) {
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    WaveformCacheEntry entry;
    if (!readNumber(object.value(QStringLiteral("fileSize")), entry.fileSize) ||
        !readNumber(object.value(QStringLiteral("modDate")), entry.modDate) ||
        !readNumber(object.value(QStringLiteral("lastAccessed")), entry.lastAccessed))
        return {};
    auto samples = readBase64(object.value(QStringLiteral("samplesData")));
    if (!samples)
        return {};
    entry.samplesData = std::move(*samples);
    return entry;
}

double WaveformCacheEntry::dateOf(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    constexpr sys_days kReference = 2001y / January / 1;
    return duration<double>(time - kReference).count();
}

} // namespace ambrel
