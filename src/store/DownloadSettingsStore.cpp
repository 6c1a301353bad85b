#include "store/DownloadSettingsStore.h"

#include <QDir>

#include "platform/store/Preferences.h"
#include "store/StoredPath.h"

namespace ambrel {
namespace {

const QString kDirectoryKey = QStringLiteral("AMB.downloadDirectory");

} // namespace

DownloadSettingsStore::DownloadSettingsStore(Preferences& defaults) : defaults_(defaults) {}

DownloadSettingsStore& DownloadSettingsStore::shared() {
    static DownloadSettingsStore store(Preferences::shared());
    return store;
}

QUrl DownloadSettingsStore::downloadDirectory() const {
    const auto path = defaults_.string(kDirectoryKey);
    if (path && !path->isEmpty())
        return storedFile(*path);
    return QUrl::fromLocalFile(QDir::home().filePath(QStringLiteral("Downloads")));
}

void DownloadSettingsStore::setDownloadDirectory(const QUrl& folder) {
    defaults_.set(kDirectoryKey, storedPath(folder.adjusted(QUrl::StripTrailingSlash)));
}

void DownloadSettingsStore::resetDownloadDirectory() {
    defaults_.remove(kDirectoryKey);
}

} // namespace ambrel
