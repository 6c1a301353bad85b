#include "platform/store/Preferences.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include <QDir>
#include <QStandardPaths>

#include "platform/store/PendingChanges.h"
#include "platform/store/PreferenceConnection.h"
#include "platform/store/PreferenceFile.h"

namespace ambrel {
namespace {

using namespace std::chrono_literals;
using Changes = PreferenceDatabase::Changes;

constexpr auto kMainBusyTimeout = 10ms; // less than a screen refresh
constexpr auto kPoolBusyTimeout = 5s;
constexpr auto kLastBusyTimeout = 250ms; // in all, when quitting
constexpr auto kRetryInterval = 500ms;

/// Per transaction: larger ones would delay other writers.
constexpr qsizetype kMostRemovals = 50;

} // namespace

/// Every write first goes to `pending_`, and leaves it once a transaction has written it. A
/// transaction takes everything pending, under the database's lock, so that an older value never
/// overwrites a newer one, whichever connection writes.
class Preferences::Impl {
  public:
    explicit Impl(const std::filesystem::path& path)
        : file_(path), pending_(path),
          main_(file_, kMainBusyTimeout, salvage(), [this] { requestCheckpoint(); }),
          pool_(file_, kPoolBusyTimeout, salvage()) {
        main_.perform([this](PreferenceDatabase& database) { pending_.collect(database); });
        if (!pending_.isEmpty())
            flush(main_);
        retryIfPending();
        maintenance_ = std::thread([this] { maintain(); });
    }

    ~Impl() {
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
        }
        wake_.notify_all();
        maintenance_.join();
        end();
    }

    void end() {
        file_.endWaits(std::chrono::steady_clock::now() + kLastBusyTimeout);
        main_.setBusyTimeout(kLastBusyTimeout);
        if (!pending_.isEmpty() && !flush(main_))
            leave();
    }

    std::optional<Value> value(const QString& key) {
        if (auto change = pending_.find(key))
            return *change;
        std::optional<Value> found;
        perform([&](PreferenceDatabase& database) { found = database.value(key); });
        return found;
    }

    QStringList keys(const QString& prefix) {
        const Changes pending = pending_.of(prefix);
        QStringList found;
        perform([&](PreferenceDatabase& database) { found = database.keys(prefix); });
        found.removeIf([&](const QString& key) { return pending.contains(key); });
        for (const auto& [key, value] : pending) {
            if (value)
                found << key;
        }
        return found;
    }

    void visitData(const QString& prefix, const Visitor& visitor) {
        const Changes pending = pending_.of(prefix);
        const auto visitStored = [&](const QString& key, QByteArrayView data) {
            if (!pending.contains(key))
                visitor(key, data);
        };
        perform([&](PreferenceDatabase& database) { database.visitData(prefix, visitStored); });
        for (const auto& [key, value] : pending) {
            if (value && std::holds_alternative<QByteArray>(*value))
                visitor(key, std::get<QByteArray>(*value));
        }
    }

    std::int64_t dataSize(const QString& prefix) {
        const Changes pending = pending_.of(prefix);
        std::int64_t size = 0;
        perform([&](PreferenceDatabase& database) { size = database.dataSize(prefix, pending); });
        for (const auto& [key, value] : pending) {
            if (value && std::holds_alternative<QByteArray>(*value))
                size += std::get<QByteArray>(*value).size();
        }
        return size;
    }

    /// False if it is still pending.
    bool write(const Changes& changes) {
        pending_.add(changes);
        const bool isWritten = isMainThread() ? flush(main_) : flushFromPool();
        if (!isWritten && file_.isEnding())
            leave();
        retryIfPending();
        return isWritten;
    }

  private:
    bool isMainThread() const { return std::this_thread::get_id() == mainThread_; }

    bool perform(const std::function<void(PreferenceDatabase&)>& operation) {
        if (isMainThread())
            return main_.perform(operation);
        const std::lock_guard lock(poolMutex_);
        return pool_.perform(operation);
    }

    bool flushFromPool() {
        const std::lock_guard lock(poolMutex_);
        return flush(pool_);
    }

    /// Writes everything pending.
    bool flush(PreferenceConnection& connection) {
        PendingChanges::Snapshot taken;
        const auto write = [&](PreferenceDatabase& database) {
            database.write([&] {
                pending_.collect(database);
                taken = pending_.snapshot();
                return taken.forDatabase();
            });
        };
        if (!connection.perform(write))
            return false;
        pending_.forget(taken);
        return true;
    }

    /// A store that works in memory only leaves nothing.
    void leave() {
        if (!file_.isAbandoned())
            pending_.leave();
    }

    /// Values rescued from a damaged database are written to the new one.
    PreferenceConnection::Salvage salvage() {
        return [this](const PreferenceDatabase::Row& row) {
            if (row.value)
                pending_.addRescued(row.key, *row.value);
        };
    }

    void retryIfPending() {
        if (pending_.isEmpty() || file_.isAbandoned())
            return;
        {
            const std::lock_guard lock(mutex_);
            isRetryWanted_ = true;
        }
        wake_.notify_all();
    }

    void requestCheckpoint() {
        {
            const std::lock_guard lock(mutex_);
            isCheckpointWanted_ = true;
        }
        wake_.notify_all();
    }

    /// Runs on the thread that retries writes and checkpoints the log.
    void maintain() {
        std::unique_lock lock(mutex_);
        while (true) {
            wake_.wait(lock, [&] { return isEnding_ || isRetryWanted_ || isCheckpointWanted_; });
            wake_.wait_for(lock, kRetryInterval, [&] { return isEnding_ || isCheckpointWanted_; });
            if (isEnding_)
                return;
            const bool isRetrying = std::exchange(isRetryWanted_, false);
            const bool isCheckpointing = std::exchange(isCheckpointWanted_, false);
            lock.unlock();
            serve(isRetrying, isCheckpointing);
            if (isRetrying)
                retryIfPending();
            lock.lock();
        }
    }

    void serve(bool isRetrying, bool isCheckpointing) {
        const std::lock_guard lock(poolMutex_);
        pool_.setBusyTimeout(kMainBusyTimeout); // the next retry is soon, and so may be quitting
        if (isRetrying)
            flush(pool_);
        if (isCheckpointing)
            pool_.perform([](PreferenceDatabase& database) { database.checkpoint(); });
        pool_.setBusyTimeout(kPoolBusyTimeout);
    }

    const std::thread::id mainThread_ = std::this_thread::get_id();
    PreferenceFile file_;
    PendingChanges pending_;
    PreferenceConnection main_; ///< the main thread's

    std::mutex poolMutex_; ///< held for as long as an operation takes: never by the main thread
    PreferenceConnection pool_; ///< every other thread's, under poolMutex_

    std::mutex mutex_; ///< guards what follows, for moments only
    bool isRetryWanted_ = false;
    bool isCheckpointWanted_ = false;
    bool isEnding_ = false;
    std::condition_variable wake_;
    std::thread maintenance_;
};

Preferences::Preferences(const std::filesystem::path& database)
    : impl_(std::make_unique<Impl>(database)) {}

Preferences::~Preferences() = default;

void Preferences::end() {
    impl_->end();
}

Preferences& Preferences::shared() {
    static Preferences preferences(defaultPath());
    return preferences;
}

std::filesystem::path Preferences::defaultPath() {
    QString folder = qEnvironmentVariable("XDG_DATA_HOME");
    if (!QDir::isAbsolutePath(folder)) // unset, or to be ignored
        folder = QDir::homePath() + QStringLiteral("/.local/share");
    return QFile::encodeName(folder + QStringLiteral("/ambrel/preferences.sqlite")).toStdString();
}

std::optional<Preferences::Value> Preferences::value(const QString& key) const {
    return impl_->value(key);
}

void Preferences::set(const QString& key, const Value& value) {
    Changes change;
    change.emplace(key, value);
    impl_->write(change);
}

void Preferences::remove(const QString& key) {
    remove(QStringList(key));
}

void Preferences::remove(const QStringList& keys) {
    qsizetype most = kMostRemovals;
    for (qsizetype first = 0; first < keys.size();) {
        Changes removals;
        for (const QString& key : keys.mid(first, most))
            removals.emplace(key, std::nullopt);
        first += most;
        if (!impl_->write(removals))
            most = keys.size(); // otherwise each batch would wait for the lock again
    }
}

QStringList Preferences::keys(const QString& prefix) const {
    return impl_->keys(prefix);
}

void Preferences::removeAll(const QString& prefix) {
    remove(impl_->keys(prefix));
}

void Preferences::visitData(const QString& prefix, const Visitor& visitor) const {
    impl_->visitData(prefix, visitor);
}

std::int64_t Preferences::dataSize(const QString& prefix) const {
    return impl_->dataSize(prefix);
}

} // namespace ambrel
