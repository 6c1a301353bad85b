#pragma once

#include <filesystem>

#include <QUrl>

namespace ambrel {

/// The one of a file's addresses under which all that belongs to it is kept: without a host, and
/// with no part of the path that leads nowhere else. What is no file on this computer stays as it
/// is.
QUrl localFile(const QUrl& url);

/// The path that a file URL stands for, in the bytes of the file system. Throws AudioFileError for
/// a URL that is no file on this computer.
std::filesystem::path localPath(const QUrl& url);

} // namespace ambrel
