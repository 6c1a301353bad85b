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

/// The user's preference store: typed values by key, one row each in an SQLite database.
///
/// A write has reached the database when the call returns, unless another process holds the lock:
/// then it is kept in memory, read from there, and tried again every half second off the calling
/// thread. No operation throws or reports a failure: a store that cannot be opened is replaced by
/// one in memory, a damaged one is moved aside. docs/storage.md lays down file, table and types.
///
/// Any thread may call everything. The thread that made the store waits at most 10 ms for a lock;
/// the others share a second connection that waits up to 5 s.
class Preferences {
  public:
    /// The types of a value. `bool` before the numbers, so that true stays a bool.
    using Value = std::variant<QByteArray, QString, QStringList, bool, std::int64_t, double>;

    /// Opens `database`, making it and its folder when missing.
    explicit Preferences(const std::filesystem::path& database);

    /// Writes what is still kept, for at most 0.5 s.
    ~Preferences();
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    /// $XDG_DATA_HOME/ambrel/preferences.sqlite, opened by the first call.
    static Preferences& shared();
    static std::filesystem::path defaultPath();

    /// The value as stored; absent when the key is, or its row does not read.
    std::optional<Value> value(const QString& key) const;

    std::optional<QByteArray> data(const QString& key) const;
    std::optional<QString> string(const QString& key) const; ///< of a number its text
    std::optional<QStringList> strings(const QString& key) const;
    std::optional<bool> boolean(const QString& key) const;

    /// An int is taken where a double is wanted and the reverse (a double that is whole and fits).
    std::optional<std::int64_t> integer(const QString& key) const;
    std::optional<double> real(const QString& key) const;

    void set(const QString& key, const Value& value);
    void remove(const QString& key);

    /// Removes all of them as one change.
    void remove(const QStringList& keys);

    /// Every key that begins with `prefix` (case-sensitive), as it stands now.
    QStringList keys(const QString& prefix = {}) const;

    /// Removes those keys as one change.
    void removeAll(const QString& prefix);

    /// Shows every data value whose key begins with `prefix`, one after the other and without a
    /// copy: the view lasts for the call, which must not use the store. Starts again from the first
    /// when it comes upon damage, so a key may be shown twice.
    using Visitor = std::function<void(const QString& key, QByteArrayView data)>;
    void visitData(const QString& prefix, const Visitor& visitor) const;

    /// The length of those values together, in bytes. Does not read them.
    std::int64_t dataSize(const QString& prefix) const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace ambrel
