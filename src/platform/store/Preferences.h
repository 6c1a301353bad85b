#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

namespace ambrel {

/// The user's preference store: typed values by key, one row each in an SQLite database
/// (docs/storage.md).
///
/// When a write returns, it is in the database, unless another process held the lock: then the
/// value is kept in memory, read from there, retried every half second on another thread, and left
/// in a file at the end. No operation throws or reports an error: a store that cannot be opened
/// works in memory, a damaged one is moved aside.
///
/// Any thread may call everything. The thread that created the store waits at most 10 ms for a
/// lock; the others share a second connection that waits up to 5 s.
class Preferences {
  public:
    /// The types of a value. `bool` comes before the numbers, so that true stays a bool.
    using Value = std::variant<QByteArray, QString, QStringList, bool, std::int64_t, double>;

    /// Opens `database`, creating it and its folder if missing.
    explicit Preferences(const std::filesystem::path& database);

    /// Calls end().
    ~Preferences();
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    /// For a program that is about to end: from now on, the waits of all threads for locks together
    /// last at most 0.25 s, and what could not be written to the database is left in a file beside
    /// it, before the write returns. The next program that writes to the database takes it over.
    void end();

    /// $XDG_DATA_HOME/ambrel/preferences.sqlite, opened by the first call.
    static Preferences& shared();
    static std::filesystem::path defaultPath();

    /// The stored value; absent if there is no such key or its row is invalid.
    std::optional<Value> value(const QString& key) const;

    std::optional<QByteArray> data(const QString& key) const;
    std::optional<QString> string(const QString& key) const; ///< a number gives its text
    std::optional<QStringList> strings(const QString& key) const;
    std::optional<bool> boolean(const QString& key) const;

    /// An int is accepted as a double, and a double that is whole and in range as an int.
    std::optional<std::int64_t> integer(const QString& key) const;
    std::optional<double> real(const QString& key) const;

    void set(const QString& key, const Value& value);
    void remove(const QString& key);

    /// Removes the keys in small transactions, so that other threads' writes get in between.
    void remove(const QStringList& keys);

    /// All keys that begin with `prefix` (case-sensitive).
    QStringList keys(const QString& prefix = {}) const;

    /// Removes all keys with `prefix`, as remove() does.
    void removeAll(const QString& prefix);

    /// Visits every data value whose key begins with `prefix`, without copying: the view is valid
    /// during the call, which must not use the store. Restarts if it meets damage, so a key may be
    /// visited twice.
    using Visitor = std::function<void(const QString& key, QByteArrayView data)>;
    void visitData(const QString& prefix, const Visitor& visitor) const;

    /// Total size of those values in bytes, without reading them.
    std::int64_t dataSize(const QString& prefix) const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace ambrel
