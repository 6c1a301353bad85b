#include "waveform/WaveformCache.h"

#include <cmath>
#include <filesystem>

#include <QtEndian>

#include "audio/LocalPath.h"
#include "platform/sound/AudioFile.h"
#include "platform/store/Preferences.h"
#include "store/StoredPath.h"
#include "waveform/WaveformCacheEntry.h"

namespace ambrel {
namespace {

const QString kPrefix = QStringLiteral("waveformCache.");
const QString kHasMaxAgeKey = QStringLiteral("waveformCacheSettings.hasMaxAge");
const QString kMaxAgeKey = QStringLiteral("waveformCacheSettings.maxAge");
const QString kHasMaxSizeKey = QStringLiteral("waveformCacheSettings.hasMaxSize");
const QString kMaxSizeKey = QStringLiteral("waveformCacheSettings.maxSize");

constexpr double kDefaultMaxAge = 180 * 86400.0;
constexpr std::int64_t kDefaultMaxSize = 100 * 1048576;

/// In seconds: file systems and archives round dates.
constexpr double kDateTolerance = 1;

QString waveformKeyFor(const QUrl& file) {
    return kPrefix + storedPath(file);
}

double now() {
    return WaveformCacheEntry::dateOf(std::chrono::system_clock::now());
}

/// A record without peaks, of the file as it is; none when it cannot be examined.
std::optional<WaveformCacheEntry> examined(const QUrl& file) {
    try {
        const auto path = localPath(file);
        const auto modified = std::filesystem::last_write_time(path);
        WaveformCacheEntry entry;
        entry.fileSize = std::int64_t(std::filesystem::file_size(path));
        entry.modDate = WaveformCacheEntry::dateOf(std::chrono::file_clock::to_sys(modified));
        return entry;
    } catch (const AudioFileError&) { // not on this computer
    } catch (const std::filesystem::filesystem_error&) {
    }
    return {};
}

QByteArray encodedSamples(const std::vector<float>& peaks) {
    QByteArray bytes(qsizetype(peaks.size() * sizeof(float)), Qt::Uninitialized);
    if (!peaks.empty()) // none have no address
        qToLittleEndian<float>(peaks.data(), qsizetype(peaks.size()), bytes.data());
    return bytes;
}

std::vector<float> decodedSamples(const QByteArray& bytes) {
    std::vector<float> peaks(std::size_t(bytes.size()) / sizeof(float));
    if (!peaks.empty())
        qFromLittleEndian<float>(bytes.data(), qsizetype(peaks.size()), peaks.data());
    return peaks;
}

} // namespace

WaveformCache::WaveformCache(Preferences& defaults) : defaults_(defaults) {
    loadSettings();
    saveSettings();
}

WaveformCache& WaveformCache::shared() {
    static WaveformCache cache(Preferences::shared());
    return cache;
}

void WaveformCache::loadSettings() {
    maxAgeSeconds_ = kDefaultMaxAge;
    if (defaults_.boolean(kHasMaxAgeKey).value_or(false)) {
        maxAgeSeconds_ = defaults_.real(kMaxAgeKey);
        if (!(maxAgeSeconds_ > 0.0))
            maxAgeSeconds_.reset();
    }
    maxTotalBytes_ = kDefaultMaxSize;
    if (defaults_.boolean(kHasMaxSizeKey).value_or(false)) {
        maxTotalBytes_ = defaults_.integer(kMaxSizeKey);
        if (!(maxTotalBytes_ >= 1))
            maxTotalBytes_.reset();
    }
}

void WaveformCache::saveSettings() {
    using Value = Preferences::Value;
    const auto age = maxAgeSeconds();
    defaults_.set(kHasMaxAgeKey, true);
    defaults_.set(kMaxAgeKey, age ? Value(*age) : Value(std::int64_t(0)));
    defaults_.set(kHasMaxSizeKey, true);
    defaults_.set(kMaxSizeKey, maxTotalBytes().value_or(0));
}

std::optional<std::vector<float>> WaveformCache::get(const QUrl& file) {
    const QString key = waveformKeyFor(file);
    const auto json = defaults_.data(key);
    auto entry = json ? WaveformCacheEntry::decoded(*json) : std::nullopt;
    if (!entry)
        return {};
    const auto asItIs = examined(file);
    if (!asItIs || asItIs->fileSize != entry->fileSize ||
        !(std::abs(asItIs->modDate - entry->modDate) <= kDateTolerance)) {
        defaults_.remove(key);
        return {};
    }
    entry->lastAccessed = now();
    if (const auto refreshed = entry->encoded())
        defaults_.set(key, *refreshed);
    return decodedSamples(entry->samplesData);
}

void WaveformCache::set(const std::vector<float>& peaks, const QUrl& file) {
    auto entry = examined(file);
    if (!entry)
        return;
    entry->samplesData = encodedSamples(peaks);
    entry->lastAccessed = now();
    if (const auto json = entry->encoded())
        defaults_.set(waveformKeyFor(file), *json);
    evict();
}

void WaveformCache::evict() {
    const auto maxAge = maxAgeSeconds();
    const auto maxSize = maxTotalBytes();
    const std::lock_guard lock(evictionMutex_);
    index_.beginSnapshot();
    defaults_.visitData(kPrefix,
                        [&](const QString& key, QByteArrayView json) { index_.note(key, json); });
    index_.endSnapshot();
    if (maxAge)
        defaults_.remove(index_.takeOlderThan(now() - *maxAge));
    if (maxSize)
        defaults_.remove(index_.takeBeyond(*maxSize));
}

void WaveformCache::clearAll() {
    defaults_.removeAll(kPrefix);
}

std::int64_t WaveformCache::totalBytes() const {
    return defaults_.dataSize(kPrefix);
}

QStringList WaveformCache::entryKeys() const {
    return defaults_.keys(kPrefix);
}

std::optional<double> WaveformCache::maxAgeSeconds() const {
    const std::lock_guard lock(limitsMutex_);
    return maxAgeSeconds_;
}

void WaveformCache::setMaxAgeSeconds(std::optional<double> seconds) {
    {
        const std::lock_guard lock(limitsMutex_);
        maxAgeSeconds_ = seconds;
    }
    saveSettings();
}

std::optional<std::int64_t> WaveformCache::maxTotalBytes() const {
    const std::lock_guard lock(limitsMutex_);
    return maxTotalBytes_;
}

void WaveformCache::setMaxTotalBytes(std::optional<std::int64_t> bytes) {
    {
        const std::lock_guard lock(limitsMutex_);
        maxTotalBytes_ = bytes;
    }
    saveSettings();
}

} // namespace ambrel
