#pragma once

#include <QString>
#include <QUrl>

namespace ambrel {

/// A folder's path for display, with "~" for the user's home.
QString folderText(const QUrl& folder);

} // namespace ambrel
