#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>

namespace ambrel {

/// The database file that the connections of one store share: where it is, and what has become of
/// it. Any thread.
class PreferenceFile {
  public:
    explicit PreferenceFile(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& path() const { return path_; }

    /// Makes the folder, readable by the user alone, when it is missing.
    void makeFolder() const;

    /// The file that lies at the path now, 0 when there is none.
    std::uint64_t identity() const;

    /// Grows by one each time the file is replaced; a connection to an older one has to reopen.
    int generation() const { return generation_; }

    /// Moves a damaged file and its log aside, under names that end in ".damaged-" and the time,
    /// unless that has been done: for this generation, or by another process. The new file is
    /// abandoned too when it is damaged in its turn.
    void moveAside(int damagedGeneration, std::uint64_t damagedIdentity);

    /// The store goes on in memory, for good.
    void abandon() { isAbandoned_ = true; }
    bool isAbandoned() const { return isAbandoned_; }

    /// Whether a connection has ever been opened.
    void noteOpened() { hasOpened_ = true; }
    bool hasOpened() const { return hasOpened_; }

  private:
    const std::filesystem::path path_;
    std::mutex moving_;
    std::atomic<int> generation_ = 0;
    std::atomic<bool> isAbandoned_ = false;
    std::atomic<bool> hasOpened_ = false;
};

} // namespace ambrel
