#pragma once

#include <QDir>
#include <QString>
#include <QUrl>

namespace ambrel {

/// The path under which every store keeps a file's data: decoded, without scheme, host or query.
inline QString storedPath(const QUrl& file) {
    return file.path(QUrl::FullyDecoded);
}

/// The file or folder of a stored path. Cleaned: to QUrl, what follows two slashes is a host.
inline QUrl storedFile(const QString& path) {
    return QUrl::fromLocalFile(QDir::cleanPath(path));
}

} // namespace ambrel
