#include "Targets.h"
#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "store/WindowStore.h"
#include "waveform/WaveformCacheEntry.h"

namespace ambrel::fuzz {
namespace {

/// A store in memory, as where none can be opened.
Preferences& store() {
    static Preferences preferences("/dev/null/store.sqlite");
    return preferences;
}

void settings(const QByteArray& json) {
    const QUrl file = QUrl::fromLocalFile(QStringLiteral("/a"));
    store().set(QStringLiteral("settings./a"), json);
    SettingsStore settings(store());
    const auto loaded = settings.load(file);
    promise(loaded == FileSettings::decoded(json), "what is stored is what is loaded");
    if (!loaded)
        return;
    settings.save(*loaded, file);
    promise(settings.load(file) == loaded, "settings survive saving");
}

void waveform(const QByteArray& json) {
    const auto entry = WaveformCacheEntry::decoded(json);
    const auto use = WaveformCacheEntry::decodedUse(json);
    promise(entry.has_value() == use.has_value(), "both decoders accept the same records");
    if (!entry)
        return;
    promise(use->sampleBytes == entry->samplesData.size() &&
                use->lastAccessed == entry->lastAccessed,
            "both decoders read the same");
    const auto encoded = entry->encoded();
    promise(encoded && WaveformCacheEntry::decoded(*encoded) == entry, "a waveform survives");
}

void recentFiles(const Preferences::Value& value) {
    const QString key = QStringLiteral("recentFiles");
    store().set(key, value);
    RecentFilesStore recent(store());
    for (const QUrl& file : recent.all())
        promise(file.isEmpty() || file.isLocalFile(), "a recent file is a file");
    const QUrl file = QUrl::fromLocalFile(QStringLiteral("/a"));
    recent.push(file);
    promise(recent.all().size() <= 10 && recent.all().first() == file, "ten, the newest first");
}

void window(const QString& text) {
    store().set(QStringLiteral("AMB.window"), text);
    WindowStore window(store());
    const auto place = window.place();
    if (!place)
        return;
    promise(place->area.width() < 100000 && place->area.height() < 100000, "sizes are limited");
    window.setPlace(*place);
    promise(window.place() == place, "the window's place survives");
}

void downloadFolder(const QString& path) {
    store().set(QStringLiteral("AMB.downloadDirectory"), path);
    DownloadSettingsStore settings(store());
    const QUrl folder = settings.downloadDirectory();
    promise(folder.isLocalFile(), "downloads go to a folder");
    settings.setDownloadDirectory(folder);
}

} // namespace

void records(Bytes bytes) {
    if (bytes.empty())
        return;
    const QByteArray data(reinterpret_cast<const char*>(bytes.data()) + 1,
                          qsizetype(bytes.size()) - 1);
    const QString text = QString::fromUtf8(data);
    switch (bytes[0]) {
    case 's':
        return settings(data);
    case 'p':
        return waveform(data);
    case 'r':
        return recentFiles(text.split(u'\n'));
    case 't':
        return recentFiles(text);
    case 'w':
        return window(text);
    case 'd':
        return downloadFolder(text);
    default:
        return;
    }
}

} // namespace ambrel::fuzz
