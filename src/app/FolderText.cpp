#include "app/FolderText.h"

#include <QDir>

namespace ambrel {

QString folderText(const QUrl& folder) {
    const QString path = folder.toLocalFile();
    const QString home = QDir::homePath();
    if (path == home)
        return QStringLiteral("~");
    if (home != QLatin1String("/") && path.startsWith(home + QLatin1Char('/')))
        return QLatin1Char('~') + path.sliced(home.size());
    return path;
}

} // namespace ambrel
