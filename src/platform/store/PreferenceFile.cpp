#include "platform/store/PreferenceFile.h"

#include <string>
#include <system_error>

#include <QDateTime>
#include <sys/stat.h>

namespace ambrel {

namespace fs = std::filesystem;

void PreferenceFile::makeFolder() const {
    std::error_code ignored; // opening the file reports the error
    const fs::path folder = path_.parent_path();
    if (fs::create_directories(folder, ignored))
        fs::permissions(folder, fs::perms::owner_all, ignored);
}

std::uint64_t PreferenceFile::identity() const {
    struct stat status = {};
    return ::stat(path_.c_str(), &status) == 0 ? status.st_ino : 0;
}

void PreferenceFile::moveAside(int damagedGeneration, std::uint64_t damagedIdentity) {
    const std::lock_guard lock(moving_);
    if (generation_ != damagedGeneration)
        return;
    if (generation_ > 0) {
        abandon();
        return;
    }
    if (identity() == damagedIdentity) {
        const auto time = QDateTime::currentDateTimeUtc();
        const auto name = path_.string() + ".damaged-" +
                          time.toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")).toStdString();
        // The log first: a new database would adopt it.
        for (const char* part : {"-wal", "-shm", ""}) {
            std::error_code failure;
            fs::rename(path_.string() + part, name + part, failure);
            if (failure && *part == '\0')
                abandon();
        }
    }
    ++generation_;
}

} // namespace ambrel
