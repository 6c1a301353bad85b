#include "platform/store/PreferenceDatabase.h"

#include <utility>

#include <QRegularExpression>
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

/// All that the file's schema may hold for that name, in its order, without white space: what else
/// there is, such as a view, a trigger or a column's expression, SQLite would run.
const QString kSchema =
    QStringLiteral("CREATETABLEpreference(keyTEXTPRIMARYKEY,typeTEXTNOTNULL,value)+NULL");

/// Of a key and its value, in bytes. Ambrel's own are far below it.
constexpr int kLongestRow = 1'000'000;

/// Opening takes less than a tenth of it.
constexpr int kMostOpeningSteps = 1000;

/// SQLite reads all of it to open the file, at about 1 GB/s.
constexpr std::uintmax_t kLongestLog = 500'000'000;

/// Of what is rescued from one file, in bytes, and what a row costs besides its own.
constexpr std::int64_t kMostRescued = 256'000'000;
constexpr std::int64_t kRowCost = 1000;

/// Of commits left by a program that was killed.
std::uintmax_t logSize(const std::filesystem::path& file) {
    std::error_code absent;
    const auto size = std::filesystem::file_size(file.string() + "-wal", absent);
    return absent ? 0 : size;
}

[[noreturn]] void refuse() {
    throw SQLite::Exception("not a file of preferences", SQLITE_CORRUPT);
}

/// Keeps a file that somebody else made from taking time or memory. The caller then reads from it.
SQLite::Database openWarily(const std::filesystem::path& file, int flags) {
    if (logSize(file) > kLongestLog)
        refuse();
    SQLite::Database database(file, flags);
    sqlite3_limit(database.getHandle(), SQLITE_LIMIT_LENGTH, kLongestRow);
    sqlite3_progress_handler(
        database.getHandle(), kMostOpeningSteps, [](void*) { return 1; }, nullptr);
    return database;
}

/// Ends the opening.
void requireLayout(SQLite::Database& database) {
    const QString schema = QString::fromStdString(
        database
            .execAndGet("SELECT group_concat(ifnull(sql, 'NULL'), '+') FROM sqlite_schema "
                        "WHERE tbl_name = 'preference' COLLATE NOCASE")
            .getString());
    static const QRegularExpression space(QStringLiteral("\\s"));
    if (QString(schema).remove(space).compare(kSchema, Qt::CaseInsensitive) != 0)
        refuse();
    sqlite3_progress_handler(database.getHandle(), 0, nullptr, nullptr);
}

/// Runs a statement that writes a row, or nothing if that is too long to be read again.
void run(SQLite::Statement& statement, const std::function<void()>& bind) {
    statement.tryReset();
    try {
        bind();
        statement.exec();
    } catch (const SQLite::Exception& error) {
        if (error.getErrorCode() != SQLITE_TOOBIG)
            throw;
    }
}

} // namespace

PreferenceDatabase::PreferenceDatabase(const std::filesystem::path& file, Patience patience)
    : hadLog_(logSize(file) > 0), patience_(std::move(patience)),
      database_(openWarily(file, kOpenFlags)) {
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
    requireLayout(database_);
    value({}); // fails here if the table is damaged
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
    for (const auto& change : changes()) {
        SQLite::Statement& statement = change.second ? set : remove;
        run(statement, [&] {
            statement.bind(1, change.first.toStdString());
            if (change.second)
                PreferenceRow::bind(statement, 2, *change.second);
        });
    }
    transaction.commit();
}

void PreferenceDatabase::visitRows(const std::filesystem::path& file,
                                   const std::function<void(const Row& row)>& visitor) {
    // From both ends up to the damage.
    for (const char* order : {"ASC", "DESC"}) {
        try {
            SQLite::Database database = openWarily(file, SQLITE_OPEN_READWRITE);
            requireLayout(database);
            SQLite::Statement query(
                database,
                std::string("SELECT rowid, key, type, value FROM preference ORDER BY rowid ") +
                    order);
            std::int64_t rest = kMostRescued;
            while (query.executeStep() && rest > 0) {
                rest -= kRowCost + query.getColumn(3).getBytes();
                visitor({query.getColumn(0).getInt64(),
                         QString::fromStdString(query.getColumn(1).getString()),
                         PreferenceRow::read(query.getColumn(2), query.getColumn(3))});
            }
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
        run(insert, [&] {
            insert.bind(1, std::int64_t(row.number));
            insert.bind(2, row.key.toStdString());
            insert.bind(3, "removed"); // no type of a value
            insert.bind(4);
            if (row.value)
                PreferenceRow::bind(insert, 3, *row.value);
        });
    }
    transaction.commit();
}

} // namespace ambrel
