#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <mutex>

namespace ambrel {

/// The database file shared by the connections of a store, and its state. Any thread.
class PreferenceFile {
  public:
    explicit PreferenceFile(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& path() const { return path_; }

    /// Creates the folder, accessible to the user only, if missing.
    void makeFolder() const;

    /// Identity of the file now at the path; 0 if there is none.
    std::uint64_t identity() const;

    /// Increases each time the file is replaced; older connections must reopen.
    int generation() const { return generation_; }

    /// Moves a damaged file and its log aside, to names ending in ".damaged-" and the time, unless
    /// already done for this generation or by another process. If the new file is damaged too, it
    /// is abandoned.
    void moveAside(int damagedGeneration, std::uint64_t damagedIdentity);

    /// From now on the store works in memory only.
    void abandon() { isAbandoned_ = true; }
    bool isAbandoned() const { return isAbandoned_; }

    /// Whether a connection has ever been opened.
    void noteOpened() { hasOpened_ = true; }
    bool hasOpened() const { return hasOpened_; }

    using Time = std::chrono::steady_clock::time_point;

    /// From then on no connection waits for a lock; the first call counts.
    void endWaits(Time time) {
        Time none = Time::max();
        lastWait_.compare_exchange_strong(none, time);
    }
    Time lastWait() const { return lastWait_; }
    bool isEnding() const { return lastWait() != Time::max(); }

  private:
    const std::filesystem::path path_;
    std::mutex moving_;
    std::atomic<int> generation_ = 0;
    std::atomic<bool> isAbandoned_ = false;
    std::atomic<bool> hasOpened_ = false;
    std::atomic<Time> lastWait_ = Time::max();
};

} // namespace ambrel
