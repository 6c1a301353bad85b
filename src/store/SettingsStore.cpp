#include "store/SettingsStore.h"

#include "platform/store/Preferences.h"
#include "store/StoredPath.h"

namespace ambrel {
namespace {

const QString kSettingsPrefix = QStringLiteral("settings.");

QString keyFor(const QUrl& file) {
    return kSettingsPrefix + storedPath(file);
}

} // namespace

SettingsStore::SettingsStore(Preferences& defaults) : defaults_(defaults) {}

SettingsStore& SettingsStore::shared() {
    static SettingsStore store(Preferences::shared());
    return store;
}

void SettingsStore::save(const FileSettings& settings, const QUrl& file) {
    if (const auto record = settings.encoded())
        defaults_.set(keyFor(file), *record);
}

std::optional<FileSettings> SettingsStore::load(const QUrl& file) const {
    const auto record = defaults_.data(keyFor(file));
    return record ? FileSettings::decoded(*record) : std::nullopt;
}

void SettingsStore::clearAll() {
    defaults_.removeAll(kSettingsPrefix);
}

} // namespace ambrel
