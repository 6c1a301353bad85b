#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>

#include <QStringList>

#include "platform/store/PreferenceDatabase.h"

namespace ambrel {

/// The changes that are not in the database yet: those of this program, in memory, and those that
/// programs which had to end meanwhile left in files beside the database. Of several changes of a
/// key the latest counts, whichever program made it.
///
/// Any thread.
class PendingChanges {
  public:
    using Value = PreferenceDatabase::Value;
    using Changes = PreferenceDatabase::Changes;

    /// With files in the folder `database` + ".pending".
    explicit PendingChanges(const std::filesystem::path& database);

    bool isEmpty() const;
    void add(const Changes& changes);

    /// A value rescued from a damaged database: it is older than any change.
    void addRescued(const QString& key, const Value& value);

    /// The change of that key, if there is one.
    std::optional<std::optional<Value>> find(const QString& key) const;

    /// The changes of the keys that begin with `prefix`.
    Changes of(const QString& prefix) const;

    /// Reads what other programs have left, unless it is in `database`. Throws SQLite::Exception
    /// if that does not answer.
    void collect(PreferenceDatabase& database);

    /// All changes, as of one moment.
    struct Snapshot {
        struct Change {
            std::optional<Value> value;
            std::int64_t time; ///< see now()
            bool isInFile;
        };
        std::map<QString, Change> changes;
        QStringList files; ///< that hold some of them

        Changes forDatabase() const;
    };
    Snapshot snapshot() const;

    /// After `written` has been written to the database.
    void forget(const Snapshot& written);

    /// Moves the changes in memory to a new file, if one can be written.
    void leave();

  private:
    std::int64_t now();
    void read(const std::filesystem::path& file);

    const std::filesystem::path folder_;
    mutable std::mutex mutex_; ///< guards what follows
    Snapshot pending_;
    std::int64_t lastTime_ = 0;
};

} // namespace ambrel
