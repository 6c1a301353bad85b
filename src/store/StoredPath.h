#pragma once

#include <QString>
#include <QUrl>

namespace ambrel {

/// The path under which every store keeps a file's data: decoded, without scheme, host or query.
inline QString storedPath(const QUrl& file) {
    return file.path(QUrl::FullyDecoded);
}

} // namespace ambrel
