#pragma once

#include <QDir>
#include <QUrl>

namespace ambrel {

/// What menus and lists call a file: its name with its ending, on one line.
inline QString recentFileTitle(const QUrl& file) {
    return file.fileName().replace(QLatin1Char('\n'), QLatin1Char(' '));
}

/// Tells files of the same name apart.
inline QString recentFileFolder(const QUrl& file) {
    return QDir::toNativeSeparators(
        file.adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash).toLocalFile());
}

} // namespace ambrel
