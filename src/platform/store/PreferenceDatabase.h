#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>

#include <QString>
#include <QStringList>
#include <SQLiteCpp/Database.h>

#include "platform/store/Preferences.h"

namespace ambrel {

/// One connection to a preference database: the only place that knows its table and its types.
///
/// Used by one thread at a time. Every operation throws SQLite::Exception when the database does
/// not answer, with SQLITE_BUSY in it when another connection held the lock for the whole time-out.
class PreferenceDatabase {
  public:
    using Value = Preferences::Value;

    /// A value by key; without a value the key is removed.
    using Changes = std::map<QString, std::optional<Value>>;

    /// The database was written by a later program: it has been left as it was.
    struct NewerVersion : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    /// Opens the file, making it when missing, and brings it to the current layout. Throws
    /// NewerVersion when it has a later one.
    PreferenceDatabase(const std::filesystem::path& file, std::chrono::milliseconds busyTimeout);

    void setBusyTimeout(std::chrono::milliseconds timeout);

    /// From now on commits leave the log to checkpoint(); `grown` is called, on the writing thread,
    /// by each commit that leaves it longer than about 1 MB.
    void deferCheckpoints(std::function<void()> grown);

    /// Copies the log into the database as far as nobody reads it. Waits for no lock, but for disk.
    void checkpoint();

    /// Absent when the key is, or its row does not read.
    std::optional<Value> value(const QString& key);

    /// Every key that begins with `prefix`, byte for byte, in the order of their bytes.
    QStringList keys(const QString& prefix);

    /// As Preferences::visitData().
    void visitData(const QString& prefix, const Preferences::Visitor& visitor);

    /// The length of those values together, without the keys in `others`.
    std::int64_t dataSize(const QString& prefix, const Changes& others);

    /// Writes all changes as one transaction, or none of them. `changes` is called once the lock is
    /// held, so that what it answers cannot be older than what another connection wrote.
    void write(const std::function<Changes()>& changes);

    /// Hands over the rows of a damaged database that can still be read, until it throws.
    void salvage(const std::function<void(const QString&, const Value&)>& row);

  private:
    void layOut();
    void visitRows(const char* query, const QString& prefix,
                   const std::function<void(const QString& key, SQLite::Statement& row)>& visitor);
    int version();

    const bool hadLog_; ///< before the connection made one
    SQLite::Database database_;
    std::function<void()> logGrown_;
};

} // namespace ambrel
