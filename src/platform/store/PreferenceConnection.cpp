#include "platform/store/PreferenceConnection.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>

#include "platform/store/PreferenceFile.h"

namespace ambrel {
namespace {

int primaryCode(const SQLite::Exception& error) {
    return error.getErrorCode() & 0xff;
}

/// Or made to do harm: what is too much to open or to read.
bool isDamage(const SQLite::Exception& error) {
    constexpr std::array kCodes = {SQLITE_CORRUPT, SQLITE_NOTADB, SQLITE_INTERRUPT, SQLITE_TOOBIG};
    return std::ranges::find(kCodes, primaryCode(error)) != kCodes.end();
}

bool isHeldLock(const SQLite::Exception& error) {
    return primaryCode(error) == SQLITE_BUSY || primaryCode(error) == SQLITE_LOCKED;
}

} // namespace

PreferenceConnection::PreferenceConnection(PreferenceFile& file,
                                           std::chrono::milliseconds busyTimeout, Salvage salvage,
                                           std::function<void()> logGrown)
    : file_(file), busyTimeout_(busyTimeout), salvage_(std::move(salvage)),
      logGrown_(std::move(logGrown)) {}

/// Not by SQLite's own timeout, which another thread cannot shorten.
bool PreferenceConnection::waitForLock(int tries) {
    using namespace std::chrono_literals;
    constexpr std::chrono::milliseconds kLongestSleep = 20ms;
    const auto now = std::chrono::steady_clock::now();
    if (tries == 0)
        waitEnd_ = now + busyTimeout_;
    const auto rest = std::min(waitEnd_, file_.lastWait()) - now;
    if (rest <= 0ms)
        return false;
    std::this_thread::sleep_for(
        std::min<std::chrono::nanoseconds>(rest, std::min((1 + tries) * 1ms, kLongestSleep)));
    return true;
}

bool PreferenceConnection::perform(const std::function<void(PreferenceDatabase&)>& operation) {
    constexpr int kTries = 3; // damaged file, its replacement, one by another thread
    for (int i = 0; i < kTries && !file_.isAbandoned(); ++i) {
        try {
            operation(opened());
            if (generation_ == file_.generation())
                return true;
        } catch (const PreferenceDatabase::NewerVersion&) {
            file_.abandon();
        } catch (const SQLite::Exception& error) {
            if (isDamage(error)) {
                replaceDamaged();
                continue;
            }
            // A file that never opened will not later; one that did may regain space or its lock.
            if (!isHeldLock(error) && !file_.hasOpened())
                file_.abandon();
            return false;
        }
    }
    return false;
}

PreferenceDatabase& PreferenceConnection::opened() {
    if (database_ && generation_ == file_.generation())
        return *database_;
    database_.reset();
    file_.makeFolder();
    generation_ = file_.generation();
    identity_ = file_.identity();
    database_ = std::make_unique<PreferenceDatabase>(
        file_.path(), [this](int tries) { return waitForLock(tries); });
    identity_ = file_.identity(); // it may have just been created
    if (logGrown_)
        database_->deferCheckpoints(logGrown_);
    file_.noteOpened();
    return *database_;
}

void PreferenceConnection::replaceDamaged() {
    if (generation_ == file_.generation() && identity_ == file_.identity())
        PreferenceDatabase::visitRows(file_.path(), salvage_);
    database_.reset();
    file_.moveAside(generation_, identity_);
}

} // namespace ambrel
