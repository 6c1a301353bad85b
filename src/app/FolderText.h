#pragma once

#include <QString>
#include <QUrl>

namespace ambrel {

/// A folder's path as users read it: their home is "~".
QString folderText(const QUrl& folder);

} // namespace ambrel
