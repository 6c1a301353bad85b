#include "store/RecentFilesStore.h"

#include <algorithm>

#include "platform/store/Preferences.h"
#include "store/StoredPath.h"

namespace ambrel {
namespace {

const QString kRecentFilesKey = QStringLiteral("recentFiles");
constexpr qsizetype kMostRecentFiles = 10;

} // namespace

RecentFilesStore::RecentFilesStore(Preferences& defaults) : defaults_(defaults) {}

RecentFilesStore& RecentFilesStore::shared() {
    static RecentFilesStore store(Preferences::shared());
    return store;
}

QList<QUrl> RecentFilesStore::all() const {
    QList<QUrl> files;
    const QStringList paths = defaults_.strings(kRecentFilesKey).value_or(QStringList());
    for (const QString& path : paths.first(std::min(paths.size(), kMostRecentFiles)))
        files << storedFile(path);
    return files;
}

void RecentFilesStore::push(const QUrl& file) {
    const QString path = storedPath(file);
    QStringList paths = defaults_.strings(kRecentFilesKey).value_or(QStringList());
    paths.removeAll(path);
    paths.prepend(path);
    defaults_.set(kRecentFilesKey, paths.first(std::min(paths.size(), kMostRecentFiles)));
}

void RecentFilesStore::clear() {
    defaults_.remove(kRecentFilesKey);
}

} // namespace ambrel
