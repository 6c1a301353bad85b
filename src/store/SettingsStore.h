#pragma once

#include <optional>

#include <QUrl>

#include "store/FileSettings.h"

namespace ambrel {

class Preferences;

/// One FileSettings per file, under "settings." + the file's path. Main thread only, except
/// clearAll().
class SettingsStore {
  public:
    explicit SettingsStore(Preferences& defaults);

    static SettingsStore& shared();

    /// Stores the settings; the previous record stays if they cannot be encoded.
    void save(const FileSettings& settings, const QUrl& file);

    /// Absent if there is no record or it is invalid.
    std::optional<FileSettings> load(const QUrl& file) const;

    /// Removes all settings records. Any thread.
    void clearAll();

  private:
    Preferences& defaults_;
};

} // namespace ambrel
