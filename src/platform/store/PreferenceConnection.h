#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/store/PreferenceDatabase.h"

namespace ambrel {

class PreferenceFile;

/// A connection that opens itself when it is needed, and again when the file has been replaced. It
/// is where the database's errors end. Used by one thread at a time.
class PreferenceConnection {
  public:
    /// Receives what can still be read of a damaged database before it is moved aside.
    using Salvage = std::function<void(const QString& key, const Preferences::Value& value)>;

    /// With `logGrown`, checkpoints are left to another connection: see
    /// PreferenceDatabase::deferCheckpoints().
    PreferenceConnection(PreferenceFile& file, std::chrono::milliseconds busyTimeout,
                         Salvage salvage, std::function<void()> logGrown = {});

    void setBusyTimeout(std::chrono::milliseconds timeout);

    /// Runs `operation` on the open database. False when it was not done: the lock was held, the
    /// disk refused, or the store goes on in memory. May run it again on the new file when the old
    /// one proves damaged.
    bool perform(const std::function<void(PreferenceDatabase&)>& operation);

  private:
    PreferenceDatabase& opened();
    void replaceDamaged();

    PreferenceFile& file_;
    std::chrono::milliseconds busyTimeout_;
    Salvage salvage_;
    std::function<void()> logGrown_;
    std::unique_ptr<PreferenceDatabase> database_;
    int generation_ = 0;         ///< of the file that was opened last
    std::uint64_t identity_ = 0; ///< of the file that was opened last
};

} // namespace ambrel
