#pragma once

#include <filesystem>

class QUrl;

namespace ambrel {

/// The path that a file URL stands for, in the bytes of the file system. Throws AudioFileError for
/// a URL that is no local file.
std::filesystem::path localPath(const QUrl& url);

} // namespace ambrel
