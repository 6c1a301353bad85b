#include "platform/sound/file/RegularFile.h"

#include <cerrno>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/avstring.h>
}

namespace ambrel {
namespace {

constexpr int readBufferBytes = 64 * 1024;
constexpr std::size_t longestNameBytes = 255; // no file system has a longer one

/// Whether a character would break a line, or turn the writing direction of the rest of it.
bool isControl(std::uint32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0) ||
           (character >= 0x200e && character <= 0x200f) ||
           (character >= 0x2028 && character <= 0x202e) ||
           (character >= 0x2066 && character <= 0x2069);
}

/// Limited to the longest possible name, cut at a whole character.
std::string shortened(const std::string& name) {
    if (name.size() <= longestNameBytes)
        return name;
    std::size_t length = longestNameBytes;
    while (length > 0 && (name[length] & 0xC0) == 0x80)
        --length;
    return name.substr(0, length) + "…";
}

/// The name for use in a sentence: valid UTF-8 on one line.
std::string printable(const std::string& name) {
    std::string result;
    const auto* next = reinterpret_cast<const std::uint8_t*>(name.data());
    const auto* const end = next + name.size();
    while (next < end) {
        const auto* const start = next;
        std::int32_t character = 0;
        if (av_utf8_decode(&character, &next, end, 0) < 0) {
            result += "\uFFFD";
            next = std::max(next, start + 1);
        } else if (isControl(static_cast<std::uint32_t>(character))) {
            result += ' ';
        } else {
            result.append(start, next);
        }
    }
    return result;
}

[[noreturn]] void throwForErrno(const std::filesystem::path& path, int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        throw cannotOpen(path, AudioFileError::Reason::missing, "there is no such file");
    case EACCES:
    case EPERM:
        throw cannotOpen(path, AudioFileError::Reason::noPermission,
                         "you are not permitted to read it");
    case ENAMETOOLONG:
        throw cannotOpen(path, AudioFileError::Reason::missing, "its name is too long");
    case ELOOP:
        throw cannotOpen(path, AudioFileError::Reason::missing, "its links go round in a circle");
    default:
        throw cannotOpen(path, AudioFileError::Reason::unreadable,
                         "it could not be read from the disk");
    }
}

void refuseUnlessRegular(const std::filesystem::path& path, const struct stat& status) {
    if (S_ISDIR(status.st_mode)) {
        throw cannotOpen(path, AudioFileError::Reason::notAFile, "it is a folder");
    }
    if (!S_ISREG(status.st_mode)) {
        throw cannotOpen(path, AudioFileError::Reason::notAFile, "it is not a regular file");
    }
}

} // namespace

AudioFileError cannotOpen(const std::filesystem::path& path, AudioFileError::Reason reason,
                          const char* why) {
    return {reason, "“" + printable(shortened(path.filename().string())) +
                        "” could not be opened: " + why + "."};
}

RegularFile::RegularFile(std::filesystem::path path) : path_(std::move(path)) {
    // Checked before opening, because opening a device may activate it, and again after, because
    // the name may refer to another file by then.
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) {
        throwForErrno(path_, errno);
    }
    refuseUnlessRegular(path_, status);
    descriptor_ = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor_ < 0) {
        throwForErrno(path_, errno);
    }
    try {
        if (::fstat(descriptor_, &status) != 0) {
            throwForErrno(path_, errno);
        }
        refuseUnlessRegular(path_, status);
        if (status.st_size == 0) {
            throw cannotOpen(path_, AudioFileError::Reason::empty, "the file is empty");
        }
    } catch (...) {
        ::close(descriptor_);
        throw;
    }
}

RegularFile::~RegularFile() {
    ::close(descriptor_);
}

RegularFile::Version RegularFile::version() const noexcept {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) {
        return {};
    }
    return {status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

int RegularFile::readAt(std::int64_t offset, std::uint8_t* out, int size) const noexcept {
    for (;;) {
        const ssize_t got = ::pread(descriptor_, out, static_cast<std::size_t>(size), offset);
        if (got >= 0) {
            return static_cast<int>(got);
        }
        if (errno != EINTR) {
            return -errno;
        }
    }
}

RegularFileReader::RegularFileReader(const RegularFile& file) : file_(file) {
    auto* const buffer = static_cast<unsigned char*>(av_malloc(readBufferBytes));
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    context_.reset(avio_alloc_context(buffer, readBufferBytes, 0, this, &RegularFileReader::read,
                                      nullptr, &RegularFileReader::seek));
    if (context_ == nullptr) {
        av_free(buffer);
        throw std::bad_alloc();
    }
}

int RegularFileReader::read(void* self, std::uint8_t* out, int size) {
    auto& reader = *static_cast<RegularFileReader*>(self);
    const int got = reader.file_.readAt(reader.place_, out, size);
    if (got <= 0) {
        return got == 0 ? AVERROR_EOF : got;
    }
    reader.place_ += got;
    return got;
}

std::int64_t RegularFileReader::seek(void* self, std::int64_t offset, int whence) {
    auto& reader = *static_cast<RegularFileReader*>(self);
    if ((whence & AVSEEK_SIZE) != 0) {
        return reader.file_.size();
    }
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += reader.place_;
        break;
    case SEEK_END:
        offset += reader.file_.size();
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) {
        return AVERROR(EINVAL);
    }
    reader.place_ = offset;
    return offset;
}

} // namespace ambrel
