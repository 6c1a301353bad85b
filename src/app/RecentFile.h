#pragma once

#include <QDir>
#include <QRegularExpression>
#include <QUrl>

namespace ambrel {

/// What menus and lists call a file: its name with its ending, on one line. What follows a tab in a
/// menu item would be taken for its shortcut.
inline QString recentFileTitle(const QUrl& file) {
    static const QRegularExpression breaks(QStringLiteral("[\\n\\r\\t]"));
    return file.fileName().replace(breaks, QStringLiteral(" "));
}

/// Tells files of the same name apart.
inline QString recentFileFolder(const QUrl& file) {
    return QDir::toNativeSeparators(
        file.adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash).toLocalFile());
}

} // namespace ambrel
