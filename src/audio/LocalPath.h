#pragma once

#include <filesystem>

#include <QUrl>

namespace ambrel {

/// The canonical URL of a local file, under which its data is stored: without a host and without
/// redundant parts in the path. Other URLs are returned unchanged.
QUrl localFile(const QUrl& url);

/// The path of a local file URL, in the bytes of the file system. Throws AudioFileError for any
/// other URL.
std::filesystem::path localPath(const QUrl& url);

} // namespace ambrel
