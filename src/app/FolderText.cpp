#include "app/FolderText.h"

#include <QDir>

namespace ambrel {

QString folderText(const QUrl& folder) {
    const QString path = folder.toLocalFile();
    const QString home = QDir::homePath();
    const bool isHomeAPlaceOfItsOwn = home != QLatin1String("/"); // "/" for some service accounts
    if (isHomeAPlaceOfItsOwn && (path + QLatin1Char('/')).startsWith(home + QLatin1Char('/')))
        return QLatin1Char('~') + path.sliced(home.size());
    return path;
}

} // namespace ambrel
