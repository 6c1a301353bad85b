#pragma once

#include <QDir>
#include <QRegularExpression>
#include <QUrl>

namespace ambrel {

/// The name of a file in menus and lists: with extension, on one line, without tabs (which would
/// start a shortcut in a menu item).
inline QString recentFileTitle(const QUrl& file) {
    static const QRegularExpression breaks(QStringLiteral("[\\n\\r\\t]"));
    return file.fileName().replace(breaks, QStringLiteral(" "));
}

/// The folder, to distinguish files of the same name.
inline QString recentFileFolder(const QUrl& file) {
    return QDir::toNativeSeparators(
        file.adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash).toLocalFile());
}

} // namespace ambrel
