#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/store/PreferenceDatabase.h"

namespace ambrel {

class PreferenceFile;

/// A database connection that opens on demand, and again when the file has been replaced. It
/// handles all database errors. One thread at a time.
class PreferenceConnection {
  public:
    /// Receives the readable rows of a damaged database before it is moved aside.
    using Salvage = std::function<void(const PreferenceDatabase::Row& row)>;

    /// With `logGrown`, another connection makes the checkpoints: see
    /// PreferenceDatabase::deferCheckpoints().
    PreferenceConnection(PreferenceFile& file, std::chrono::milliseconds busyTimeout,
                         Salvage salvage, std::function<void()> logGrown = {});

    void setBusyTimeout(std::chrono::milliseconds timeout) { busyTimeout_ = timeout; }

    /// Runs `operation` on the open database. False if it failed: the lock was held, the disk
    /// failed, or the store works in memory only. May run it again on the new file if the old one
    /// is damaged.
    bool perform(const std::function<void(PreferenceDatabase&)>& operation);

  private:
    bool waitForLock(int tries);
    PreferenceDatabase& opened();
    void replaceDamaged();

    PreferenceFile& file_;
    std::chrono::milliseconds busyTimeout_;
    std::chrono::steady_clock::time_point waitEnd_;
    Salvage salvage_;
    std::function<void()> logGrown_;
    std::unique_ptr<PreferenceDatabase> database_;
    int generation_ = 0;         ///< of the file that was opened last
    std::uint64_t identity_ = 0; ///< of the file that was opened last
};

} // namespace ambrel
