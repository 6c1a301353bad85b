#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

#include <QString>
#include <QStringList>
#include <SQLiteCpp/Database.h>

#include "platform/store/Preferences.h"

namespace ambrel {

/// One connection to a preference database; the only place that knows its table and types.
///
/// One thread at a time. Every operation throws SQLite::Exception on failure, with SQLITE_BUSY if
/// another connection held the lock for the whole timeout.
class PreferenceDatabase {
  public:
    using Value = Preferences::Value;

    /// Values by key; no value removes the key.
    using Changes = std::map<QString, std::optional<Value>>;

    /// The database was written by a later version; it is left untouched.
    struct NewerVersion : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    /// Whether to try again for a lock that another connection holds, after `tries` times in vain.
    using Patience = std::function<bool(int tries)>;

    /// Opens or creates the file, and updates it to the current layout. Throws NewerVersion for a
    /// later one.
    PreferenceDatabase(const std::filesystem::path& file, Patience patience);

    /// Leaves checkpoints to checkpoint(). `grown` is called, on the writing thread, by each commit
    /// that leaves the log longer than about 1 MB.
    void deferCheckpoints(std::function<void()> grown);

    /// Copies the log into the database as far as no reader prevents it. Waits for the disk but not
    /// for locks.
    void checkpoint();

    /// Absent if there is no such key or its row is invalid.
    std::optional<Value> value(const QString& key);

    /// All keys that begin with `prefix`, in byte order.
    QStringList keys(const QString& prefix);

    /// As Preferences::visitData().
    void visitData(const QString& prefix, const Preferences::Visitor& visitor);

    /// Total size of those data values in bytes, except the keys in `others`.
    std::int64_t dataSize(const QString& prefix, const Changes& others);

    /// Writes all changes in one transaction, or none. `changes` is called once the lock is held,
    /// so that its result is never older than another connection's write.
    void write(const std::function<Changes()>& changes);

    struct Row {
        std::int64_t number; ///< SQLite's, unless it is given by writeNew()
        QString key;
        std::optional<Value> value; ///< absent if invalid
    };

    /// Reads the rows of a file, as far as it can be read.
    static void visitRows(const std::filesystem::path& file,
                          const std::function<void(const Row& row)>& visitor);

    /// Creates a file of its own that visitRows() can read. The file is nobody else's until then.
    static void writeNew(const std::filesystem::path& file, const std::vector<Row>& rows);

  private:
    void layOut();
    void visitKeys(const char* query, const QString& prefix,
                   const std::function<void(const QString& key, SQLite::Statement& row)>& visitor);
    int version();

    const bool hadLog_; ///< before the connection made one
    Patience patience_;
    SQLite::Database database_;
    std::function<void()> logGrown_;
};

} // namespace ambrel
