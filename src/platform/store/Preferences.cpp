#include "platform/store/Preferences.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <QDir>
#include <QStandardPaths>

#include "platform/store/PreferenceConnection.h"
#include "platform/store/PreferenceFile.h"

namespace ambrel {
namespace {

using namespace std::chrono_literals;
using Changes = PreferenceDatabase::Changes;

constexpr auto kMainBusyTimeout = 10ms; // less than a screen refresh
constexpr auto kPoolBusyTimeout = 5s;
constexpr auto kLastBusyTimeout = 500ms; // when quitting
constexpr auto kRetryInterval = 500ms;

/// Per transaction: larger ones would delay other writers.
constexpr qsizetype kMostRemovals = 50;

} // namespace

/// Every write first goes to `kept_`, and leaves it once a transaction has written it. A
/// transaction takes everything kept, under the database's lock, so that an older value never
/// overwrites a newer one, whichever connection writes.
class Preferences::Impl {
  public:
    explicit Impl(const std::filesystem::path& path)
        : file_(path), main_(file_, kMainBusyTimeout, salvage(), [this] { requestCheckpoint(); }),
          pool_(file_, kPoolBusyTimeout, salvage()) {
        main_.perform([](PreferenceDatabase&) {});
        maintenance_ = std::thread([this] { maintain(); });
    }

    ~Impl() {
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
        }
        wake_.notify_all();
        maintenance_.join();
        if (kept_.empty())
            return;
        main_.setBusyTimeout(kLastBusyTimeout);
        flush(main_);
    }

    std::optional<Value> value(const QString& key) {
        {
            const std::lock_guard lock(mutex_);
            if (const auto kept = kept_.find(key); kept != kept_.end())
                return kept->second.value;
        }
        std::optional<Value> found;
        perform([&](PreferenceDatabase& database) { found = database.value(key); });
        return found;
    }

    QStringList keys(const QString& prefix) {
        const Changes kept = keptValues(prefix);
        QStringList found;
        perform([&](PreferenceDatabase& database) { found = database.keys(prefix); });
        found.removeIf([&](const QString& key) { return kept.contains(key); });
        for (const auto& [key, value] : kept) {
            if (value)
                found << key;
        }
        return found;
    }

    void visitData(const QString& prefix, const Visitor& visitor) {
        const Changes kept = keptValues(prefix);
        const auto visitStored = [&](const QString& key, QByteArrayView data) {
            if (!kept.contains(key))
                visitor(key, data);
        };
        perform([&](PreferenceDatabase& database) { database.visitData(prefix, visitStored); });
        for (const auto& [key, value] : kept) {
            if (value && std::holds_alternative<QByteArray>(*value))
                visitor(key, std::get<QByteArray>(*value));
        }
    }

    std::int64_t dataSize(const QString& prefix) {
        const Changes kept = keptValues(prefix);
        std::int64_t size = 0;
        perform([&](PreferenceDatabase& database) { size = database.dataSize(prefix, kept); });
        for (const auto& [key, value] : kept) {
            if (value && std::holds_alternative<QByteArray>(*value))
                size += std::get<QByteArray>(*value).size();
        }
        return size;
    }

    /// False if it is kept for later.
    bool write(const Changes& changes) {
        {
            const std::lock_guard lock(mutex_);
            for (const auto& [key, value] : changes)
                kept_[key] = {value, ++lastNumber_};
        }
        const bool isWritten = isMainThread() ? flush(main_) : flushFromPool();
        retryIfKept();
        return isWritten;
    }

  private:
    struct Kept {
        std::optional<Value> value; ///< absent: to be removed
        std::uint64_t number;       ///< of the write
    };

    Changes keptValues(const QString& prefix) {
        Changes kept;
        const std::lock_guard lock(mutex_);
        for (auto at = kept_.lower_bound(prefix); at != kept_.end() && at->first.startsWith(prefix);
             ++at)
            kept.emplace(at->first, at->second.value);
        return kept;
    }

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

    /// Writes everything kept.
    bool flush(PreferenceConnection& connection) {
        std::map<QString, Kept> taken;
        const auto take = [&] {
            Changes changes;
            const std::lock_guard lock(mutex_);
            taken = kept_;
            for (const auto& [key, kept] : taken)
                changes.emplace(key, kept.value);
            return changes;
        };
        if (!connection.perform([&](PreferenceDatabase& database) { database.write(take); }))
            return false;
        const std::lock_guard lock(mutex_);
        for (const auto& [key, written] : taken) {
            const auto kept = kept_.find(key);
            if (kept != kept_.end() && kept->second.number == written.number)
                kept_.erase(kept);
        }
        return true;
    }

    /// Values rescued from a damaged database are written to the new one, unless a newer one is
    /// kept here.
    PreferenceConnection::Salvage salvage() {
        return [this](const QString& key, const Value& value) {
            const std::lock_guard lock(mutex_);
            kept_.try_emplace(key, Kept{value, ++lastNumber_});
        };
    }

    void retryIfKept() {
        {
            const std::lock_guard lock(mutex_);
            isRetryWanted_ = !kept_.empty() && !file_.isAbandoned();
            if (!isRetryWanted_)
                return;
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
                retryIfKept();
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
    PreferenceConnection main_; ///< the main thread's

    std::mutex poolMutex_; ///< held for as long as an operation takes: never by the main thread
    PreferenceConnection pool_; ///< every other thread's, under poolMutex_

    std::mutex mutex_; ///< guards what follows, for moments only
    std::map<QString, Kept> kept_;
    std::uint64_t lastNumber_ = 0;
    bool isRetryWanted_ = false;
    bool isCheckpointWanted_ = false;
    bool isEnding_ = false;
    std::condition_variable wake_;
    std::thread maintenance_;
};

Preferences::Preferences(const std::filesystem::path& database)
    : impl_(std::make_unique<Impl>(database)) {}

Preferences::~Preferences() = default;

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
