#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/sound/AudioFile.h"
#include "platform/sound/file/Libav.h"

namespace ambrel {

/// The error for a file that cannot be opened: “name” could not be opened: `why`. Line breaks and
/// invalid UTF-8 in the name are replaced.
AudioFileError cannotOpen(const std::filesystem::path& path, AudioFileError::Reason reason,
                          const char* why);

/// A regular file, open for reading for the lifetime of this object, even if renamed or deleted.
///
/// Any thread may read; each reader has its own position.
class RegularFile {
  public:
    /// Throws AudioFileError. Refuses folders, devices and FIFOs without blocking on them.
    explicit RegularFile(std::filesystem::path path);
    ~RegularFile();

    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }

    /// Changes when the file is written to.
    struct Version {
        std::int64_t size = 0;                     ///< in bytes
        std::int64_t seconds = 0, nanoseconds = 0; ///< last modification

        bool operator==(const Version&) const = default;
    };
    Version version() const noexcept;

    /// Current size in bytes.
    std::int64_t size() const noexcept { return version().size; }

    /// Reads up to `size` bytes at `offset`. Returns the bytes read, 0 at the end, or a negative
    /// errno.
    int readAt(std::int64_t offset, std::uint8_t* out, int size) const noexcept;

  private:
    std::filesystem::path path_;
    int descriptor_;
};

/// Reads a RegularFile for libavformat, with its own position. The file must outlive it.
class RegularFileReader {
  public:
    explicit RegularFileReader(const RegularFile& file);

    AVIOContext* context() const noexcept { return context_.get(); }

  private:
    static int read(void* self, std::uint8_t* out, int size);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);

    const RegularFile& file_;
    std::int64_t place_ = 0;
    libav::Owned<AVIOContext> context_;
};

} // namespace ambrel
