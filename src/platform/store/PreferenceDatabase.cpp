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

/// Commits left in the log by a program that was killed.
bool hasLog(const std::filesystem::path& file) {
    std::error_code absent;
    const auto size = std::filesystem::file_size(file.string() + "-wal", absent);
    return !absent && size > 0;
}

} // namespace

PreferenceDatabase::PreferenceDatabase(const std::filesystem::path& file,
                                       std::chrono::milliseconds busyTimeout)
    : hadLog_(hasLog(file)), database_(file, kOpenFlags, int(busyTimeout.count())) {
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
    database_.exec("CREATE TABLE IF NOT EXISTS preference("
                   "key TEXT PRIMARY KEY, type TEXT NOT NULL, value)");
    database_.exec("PRAGMA user_version = " + std::to_string(kVersion));
    transaction.commit();
}

void PreferenceDatabase::setBusyTimeout(std::chrono::milliseconds timeout) {
    database_.setBusyTimeout(int(timeout.count()));
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

void PreferenceDatabase::visitRows(
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
    visitRows("SELECT key FROM preference WHERE key >= ? ORDER BY key", prefix,
              [&](const QString& key, SQLite::Statement&) { found << key; });
    return found;
}

void PreferenceDatabase::visitData(const QString& prefix, const Preferences::Visitor& visitor) {
    visitRows("SELECT key, type, value FROM preference WHERE key >= ? ORDER BY key", prefix,
              [&](const QString& key, SQLite::Statement& row) {
                  if (const auto data = PreferenceRow::data(row.getColumn(1), row.getColumn(2)))
                      visitor(key, *data);
              });
}

std::int64_t PreferenceDatabase::dataSize(const QString& prefix, const Changes& others) {
    std::int64_t size = 0;
    // A blob's length is in the row header; the length of a text in bytes needs the text.
    visitRows("SELECT key, CASE typeof(value) WHEN 'blob' THEN length(value) "
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

void PreferenceDatabase::salvage(const std::function<void(const QString&, const Value&)>& row) {
    // Reads from both ends up to the damage.
    for (const char* order : {"ASC", "DESC"}) {
        try {
            SQLite::Statement query(
                database_,
                std::string("SELECT key, type, value FROM preference ORDER BY rowid ") + order);
            while (query.executeStep()) {
                if (const auto value = PreferenceRow::read(query.getColumn(1), query.getColumn(2)))
                    row(QString::fromStdString(query.getColumn(0).getString()), *value);
            }
            return; // all rows were readable
        } catch (const SQLite::Exception&) {
            continue;
        }
    }
}

} // namespace ambrel
