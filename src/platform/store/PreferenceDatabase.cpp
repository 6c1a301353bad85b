#include "platform/store/PreferenceDatabase.h"

#include <utility>

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>

#include "platform/store/PreferenceRow.h"

namespace ambrel {
namespace {

constexpr int kVersion = 1;

/// In pages of 4096 bytes.
constexpr int kLongLog = 250;

constexpr int kOpenFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;

constexpr const char* kLayout = "CREATE TABLE IF NOT EXISTS preference("
                                "key TEXT PRIMARY KEY, type TEXT NOT NULL, value)";

/// Commits left in the log by a program that was killed.
bool hasLog(const std::filesystem::path& file) {
    std::error_code absent;
    const auto size = std::filesystem::file_size(file.string() + "-wal", absent);
    return !absent && size > 0;
}

} // namespace

PreferenceDatabase::PreferenceDatabase(const std::filesystem::path& file, Patience patience)
    : hadLog_(hasLog(file)), patience_(std::move(patience)), database_(file, kOpenFlags) {
    const auto isToWait = [](void* self, int tries) {
        return int(static_cast<PreferenceDatabase*>(self)->patience_(tries));
    };
    sqlite3_busy_handler(database_.getHandle(), isToWait, this);
    if (version() > kVersion) {
        // Closing would checkpoint the log of a later program version.
        sqlite3_db_config(database_.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, int(hadLog_),
                          nullptr);
        throw NewerVersion("the preferences were written by a later version");
    }
    // Overwriting deleted data, the default of some SQLite builds, doubles the cost of deleting.
    database_.exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; "
                   "PRAGMA secure_delete = FAST");
    if (version() < kVersion)
        layOut();
    value({}); // fails here if the table is not ours
}

int PreferenceDatabase::version() {
    return database_.execAndGet("PRAGMA user_version").getInt();
}

void PreferenceDatabase::layOut() {
    SQLite::Transaction transaction(database_, SQLite::TransactionBehavior::IMMEDIATE);
    database_.exec(kLayout);
    database_.exec("PRAGMA user_version = " + std::to_string(kVersion));
    transaction.commit();
}

void PreferenceDatabase::deferCheckpoints(std::function<void()> grown) {
    logGrown_ = std::move(grown);
    const auto hook = [](void* self, sqlite3*, const char*, int pages) {
        if (pages > kLongLog)
            static_cast<PreferenceDatabase*>(self)->logGrown_();
        return SQLITE_OK;
    };
    sqlite3_wal_hook(database_.getHandle(), hook, this); // replaces SQLite's own hook
}

void PreferenceDatabase::checkpoint() {
    database_.exec("PRAGMA wal_checkpoint(PASSIVE)");
}

std::optional<PreferenceDatabase::Value> PreferenceDatabase::value(const QString& key) {
    SQLite::Statement query(database_, "SELECT type, value FROM preference WHERE key = ?");
    query.bind(1, key.toStdString());
    if (!query.executeStep())
        return {};
    return PreferenceRow::read(query.getColumn(0), query.getColumn(1));
}

void PreferenceDatabase::visitKeys(
    const char* query, const QString& prefix,
    const std::function<void(const QString& key, SQLite::Statement& row)>& visitor) {
    const std::string first = prefix.toStdString();
    SQLite::Statement rows(database_, query);
    rows.bind(1, first);
    while (rows.executeStep()) {
        const std::string key = rows.getColumn(0).getString();
        if (!key.starts_with(first))
            break; // keys with the prefix are adjacent
        visitor(QString::fromStdString(key), rows);
    }
}

QStringList PreferenceDatabase::keys(const QString& prefix) {
    QStringList found;
    visitKeys("SELECT key FROM preference WHERE key >= ? ORDER BY key", prefix,
              [&](const QString& key, SQLite::Statement&) { found << key; });
    return found;
}

void PreferenceDatabase::visitData(const QString& prefix, const Preferences::Visitor& visitor) {
    visitKeys("SELECT key, type, value FROM preference WHERE key >= ? ORDER BY key", prefix,
              [&](const QString& key, SQLite::Statement& row) {
                  if (const auto data = PreferenceRow::data(row.getColumn(1), row.getColumn(2)))
                      visitor(key, *data);
              });
}

std::int64_t PreferenceDatabase::dataSize(const QString& prefix, const Changes& others) {
    std::int64_t size = 0;
    // A blob's length is in the row header; the length of a text in bytes needs the text.
    visitKeys("SELECT key, CASE typeof(value) WHEN 'blob' THEN length(value) "
              "WHEN 'text' THEN length(CAST(value AS BLOB)) END "
              "FROM preference WHERE key >= ? AND type = 'data' ORDER BY key",
              prefix, [&](const QString& key, SQLite::Statement& row) {
                  if (!others.contains(key))
                      size += row.getColumn(1).getInt64();
              });
    return size;
}

void PreferenceDatabase::write(const std::function<Changes()>& changes) {
    SQLite::Transaction transaction(database_, SQLite::TransactionBehavior::IMMEDIATE);
    SQLite::Statement set(database_, "INSERT INTO preference(key, type, value) VALUES(?, ?, ?) "
                                     "ON CONFLICT(key) DO UPDATE "
                                     "SET type = excluded.type, value = excluded.value");
    SQLite::Statement remove(database_, "DELETE FROM preference WHERE key = ?");
    for (const auto& [key, value] : changes()) {
        SQLite::Statement& statement = value ? set : remove;
        statement.bind(1, key.toStdString());
        if (value)
            PreferenceRow::bind(statement, 2, *value);
        statement.exec();
        statement.reset();
    }
    transaction.commit();
}

void PreferenceDatabase::visitRows(const std::filesystem::path& file,
                                   const std::function<void(const Row& row)>& visitor) {
    // From both ends up to the damage.
    for (const char* order : {"ASC", "DESC"}) {
        try {
            SQLite::Database database(file, SQLITE_OPEN_READWRITE);
            SQLite::Statement query(
                database,
                std::string("SELECT rowid, key, type, value FROM preference ORDER BY rowid ") +
                    order);
            while (query.executeStep())
                visitor({query.getColumn(0).getInt64(),
                         QString::fromStdString(query.getColumn(1).getString()),
                         PreferenceRow::read(query.getColumn(2), query.getColumn(3))});
            return; // all rows were readable
        } catch (const SQLite::Exception&) {
            continue;
        }
    }
}

void PreferenceDatabase::writeNew(const std::filesystem::path& file, const std::vector<Row>& rows) {
    SQLite::Database database(file, kOpenFlags);
    database.exec("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
    SQLite::Transaction transaction(database);
    database.exec(kLayout);
    SQLite::Statement insert(database,
                             "INSERT INTO preference(rowid, key, type, value) VALUES(?, ?, ?, ?)");
    for (const Row& row : rows) {
        insert.bind(1, std::int64_t(row.number));
        insert.bind(2, row.key.toStdString());
        insert.bind(3, "removed"); // no type of a value
        insert.bind(4);
        if (row.value)
            PreferenceRow::bind(insert, 3, *row.value);
        insert.exec();
        insert.reset();
    }
    transaction.commit();
}

} // namespace ambrel
