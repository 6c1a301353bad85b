#include "platform/store/PendingChanges.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <vector>

#include <QDir>
#include <QUuid>

namespace ambrel {
namespace {

namespace fs = std::filesystem;

/// The files whose changes the database has: they are removed just after it got them, and a program
/// may be killed in between.
const QString kTakenKey = QStringLiteral("pending.taken");

/// Far above every clock, and with room above it.
constexpr std::int64_t kLatestTime = std::int64_t(1) << 62;

} // namespace

PendingChanges::PendingChanges(const fs::path& database)
    : folder_(database.string() + ".pending") {}

/// The time of a change: larger than that of all known ones. The clock is the same in all programs,
/// but begins anew with the computer.
std::int64_t PendingChanges::now() {
    const auto clock = std::chrono::steady_clock::now().time_since_epoch();
    return lastTime_ =
               std::max<std::int64_t>(lastTime_ + 1, std::chrono::nanoseconds(clock).count());
}

bool PendingChanges::isEmpty() const {
    const std::lock_guard lock(mutex_);
    return pending_.changes.empty();
}

void PendingChanges::add(const Changes& changes) {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, value] : changes)
        pending_.changes[key] = {value, now(), false};
}

void PendingChanges::addRescued(const QString& key, const Value& value) {
    const std::lock_guard lock(mutex_);
    pending_.changes.try_emplace(key, Snapshot::Change{value, 0, false});
}

std::optional<std::optional<PendingChanges::Value>> PendingChanges::find(const QString& key) const {
    const std::lock_guard lock(mutex_);
    const auto change = pending_.changes.find(key);
    if (change == pending_.changes.end())
        return {};
    return change->second.value;
}

PendingChanges::Changes PendingChanges::of(const QString& prefix) const {
    Changes found;
    const std::lock_guard lock(mutex_);
    for (auto at = pending_.changes.lower_bound(prefix);
         at != pending_.changes.end() && at->first.startsWith(prefix); ++at)
        found.emplace(at->first, at->second.value);
    return found;
}

void PendingChanges::collect(PreferenceDatabase& database) {
    const std::lock_guard lock(mutex_);
    std::error_code absent;
    if (pending_.files.isEmpty() && !fs::exists(folder_, absent)) // as nearly always
        return;
    const auto value = database.value(kTakenKey);
    const auto* taken = value ? std::get_if<QStringList>(&*value) : nullptr;
    // What had been read may have been taken by another program, and changed since.
    std::erase_if(pending_.changes, [](const auto& item) { return item.second.isInFile; });
    pending_.files =
        QDir(QString::fromStdString(folder_.string())).entryList(QDir::Files | QDir::NoSymLinks);
    for (const QString& file : pending_.files) {
        if (!taken || !taken->contains(file))
            read(folder_ / file.toStdString());
    }
}

/// As far as it can be read.
void PendingChanges::read(const fs::path& file) {
    PreferenceDatabase::visitRows(file, [this](const PreferenceDatabase::Row& row) {
        const auto known = pending_.changes.find(row.key);
        const bool isKnown = known != pending_.changes.end() && known->second.time >= row.number;
        if (isKnown || row.number < 0 || row.number > kLatestTime)
            return;
        pending_.changes[row.key] = {row.value, row.number, true};
        lastTime_ = std::max(lastTime_, row.number);
    });
}

PendingChanges::Snapshot PendingChanges::snapshot() const {
    const std::lock_guard lock(mutex_);
    return pending_;
}

PendingChanges::Changes PendingChanges::Snapshot::forDatabase() const {
    Changes all;
    for (const auto& [key, change] : changes)
        all.emplace(key, change.value);
    if (!files.isEmpty())
        all.emplace(kTakenKey, files);
    return all;
}

void PendingChanges::forget(const Snapshot& written) {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, change] : written.changes) {
        const auto pending = pending_.changes.find(key);
        if (pending != pending_.changes.end() && pending->second.time == change.time)
            pending_.changes.erase(pending);
    }
    std::error_code ignored; // who comes next sees that they have been taken
    for (const QString& file : written.files) {
        fs::remove(folder_ / file.toStdString(), ignored);
        pending_.files.removeAll(file);
    }
    if (!written.files.isEmpty())
        fs::remove(folder_, ignored); // unless another program has just left something
}

void PendingChanges::leave() {
    const std::lock_guard lock(mutex_);
    std::vector<PreferenceDatabase::Row> mine;
    for (const auto& [key, change] : pending_.changes) {
        if (!change.isInFile)
            mine.push_back({change.time, key, change.value});
    }
    if (mine.empty())
        return;
    const auto name = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
    const fs::path hidden = folder_ / ('.' + name);
    std::error_code ignored; // writing reports it
    try {
        fs::create_directory(folder_, ignored);
        fs::permissions(folder_, fs::perms::owner_all, ignored);
        PreferenceDatabase::writeNew(hidden, mine);
        fs::rename(hidden, folder_ / name);
        std::erase_if(pending_.changes, [](const auto& item) { return !item.second.isInFile; });
    } catch (const std::exception&) {
        fs::remove(hidden, ignored);
        fs::remove(folder_, ignored); // unless there are others
    }
}

} // namespace ambrel
