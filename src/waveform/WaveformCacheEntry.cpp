#include "waveform/WaveformCacheEntry.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

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

const QString kSamplesMember = QStringLiteral("samplesData");

/// A record's samples, still as text, and the object that holds its other members.
struct Parts {
    QByteArray samples;
    QJsonObject others;
};

/// The text of a JSON string in which nothing but slashes is escaped; absent for any other.
std::optional<QByteArray> withoutEscapes(QByteArrayView string) {
    QByteArray text;
    text.reserve(string.size());
    for (qsizetype begin = 0;;) {
        const qsizetype escape = string.indexOf('\\', begin);
        if (escape < 0)
            return text.append(string.sliced(begin));
        text.append(string.sliced(begin, escape - begin));
        begin = escape + 1;
        if (begin == string.size() || string[begin] != '/')
            return {};
    }
}

/// The parts of a record that begins with its samples, as ours do. The samples are most of it, and
/// a JSON reader takes many times as long for them.
std::optional<Parts> partsOfOurs(const QByteArray& json) {
    constexpr QByteArrayView kBegin = R"({"samplesData":")";
    const qsizetype end = json.indexOf('"', kBegin.size());
    if (!json.startsWith(kBegin) || end < 0 || json.mid(end + 1, 1) != ",")
        return {};
    const auto samples =
        withoutEscapes(QByteArrayView(json).sliced(kBegin.size(), end - kBegin.size()));
    const auto others = QJsonDocument::fromJson("{" + json.mid(end + 2)).object();
    if (!samples || others.contains(kSamplesMember))
        return {};
    return Parts{*samples, others};
}

std::optional<Parts> partsOfAny(const QByteArray& json) {
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const QJsonValue samples = object.value(kSamplesMember);
    if (!samples.isString())
        return {};
    return Parts{samples.toString().toLatin1(), object};
}

std::optional<Parts> partsOf(const QByteArray& json) {
    auto parts = partsOfOurs(json);
    return parts ? parts : partsOfAny(json);
}

std::optional<QByteArray> decodedBase64(const QByteArray& text) {
    auto bytes = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (text.size() % 4 != 0 || !bytes)
        return {};
    return std::move(*bytes);
}

constexpr auto kIsBase64 = [] {
    std::array<bool, 256> isBase64 = {};
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                         "0123456789+/"))
        isBase64[static_cast<unsigned char>(c)] = true;
    return isBase64;
}();

/// How many bytes the text decodes to; absent when that is not plain without decoding it.
std::optional<qsizetype> base64Size(QByteArrayView text) {
    const qsizetype padding = text.endsWith("==") ? 2 : text.endsWith('=') ? 1 : 0;
    bool isPlain = text.size() % 4 == 0;
    for (const char c : text.chopped(padding))
        isPlain &= kIsBase64[static_cast<unsigned char>(c)]; // no branch: samples are noise to it
    if (!isPlain)
        return {};
    return text.size() / 4 * 3 - padding;
}

/// All but the samples.
std::optional<WaveformCacheEntry> numbersOf(const QJsonObject& others) {
    WaveformCacheEntry entry;
    if (!readNumber(others.value(QStringLiteral("fileSize")), entry.fileSize) ||
        !readNumber(others.value(QStringLiteral("modDate")), entry.modDate) ||
        !readNumber(others.value(QStringLiteral("lastAccessed")), entry.lastAccessed))
        return {};
    return entry;
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
    const auto parts = partsOf(json);
    auto entry = parts ? numbersOf(parts->others) : std::nullopt;
    auto samples = entry ? decodedBase64(parts->samples) : std::nullopt;
    if (!samples)
        return {};
    entry->samplesData = std::move(*samples);
    return entry;
}

std::optional<WaveformCacheEntry::Use> WaveformCacheEntry::decodedUse(const QByteArray& json) {
    const auto parts = partsOf(json);
    const auto entry = parts ? numbersOf(parts->others) : std::nullopt;
    if (!entry)
        return {};
    if (const auto size = base64Size(parts->samples))
        return Use{*size, entry->lastAccessed};
    if (const auto samples = decodedBase64(parts->samples))
        return Use{samples->size(), entry->lastAccessed};
    return {};
}

double WaveformCacheEntry::dateOf(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    constexpr sys_days kReference = 2001y / January / 1;
    return duration<double>(time - kReference).count();
}

} // namespace ambrel
