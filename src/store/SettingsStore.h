#pragma once

#include <optional>

#include <QUrl>

#include "store/FileSettings.h"

namespace ambrel {

class Preferences;

/// One FileSettings per file, under "settings." + the file's path. Main thread only,
/// but for clearAll().
class SettingsStore {
  public:
    explicit SettingsStore(Preferences& defaults);

    static SettingsStore& shared();

    /// Stores the record, or leaves the earlier one when it cannot be encoded.
    void save(const FileSettings& settings, const QUrl& file);

    /// Absent when nothing is stored or what is stored is no record.
    std::optional<FileSettings> load(const QUrl& file) const;

    /// Removes every record; nothing else. Any thread.
    void clearAll();

  private:
    Preferences& defaults_;
};

} // namespace ambrel
