#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/sound/AudioFile.h"
#include "platform/sound/file/Libav.h"

namespace ambrel {

/// The sentence for a file that cannot be opened: “name” could not be opened: `why`. What would
/// break the line or is no UTF-8 in the name is replaced.
AudioFileError cannotOpen(const std::filesystem::path& path, AudioFileError::Reason reason,
                          const char* why);

/// A regular file, open for reading as long as this lives, whatever becomes of its name.
///
/// Any thread may read; every reader keeps its own place.
class RegularFile {
  public:
    /// Throws AudioFileError. Refuses folders, devices and FIFOs without waiting for them.
    explicit RegularFile(std::filesystem::path path);
    ~RegularFile();

    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }

    /// What tells whether the file was written to: it may grow, shrink and change while it is open.
    struct Version {
        std::int64_t size = 0;                     ///< in bytes
        std::int64_t seconds = 0, nanoseconds = 0; ///< when it was written to last

        bool operator==(const Version&) const = default;
    };
    Version version() const noexcept;

    /// Bytes in the file now.
    std::int64_t size() const noexcept { return version().size; }

    /// Reads up to `size` bytes from `offset` on. Returns the bytes read, 0 at the end, below 0 on
    /// an error (a negative errno).
    int readAt(std::int64_t offset, std::uint8_t* out, int size) const noexcept;

  private:
    std::filesystem::path path_;
    int descriptor_;
};

/// A reader of a RegularFile with a place of its own, as libavformat wants it. Outlived by the
/// file.
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
