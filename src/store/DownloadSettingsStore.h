#pragma once

#include <QUrl>

namespace ambrel {

class Preferences;

/// The download folder: its path under "AMB.downloadDirectory", by default the Downloads folder in
/// the user's home. Does not check that the folder exists. Main thread only.
class DownloadSettingsStore {
  public:
    explicit DownloadSettingsStore(Preferences& defaults);

    static DownloadSettingsStore& shared();

    /// The current value.
    QUrl downloadDirectory() const;
    void setDownloadDirectory(const QUrl& folder);

    /// Returns to the default.
    void resetDownloadDirectory();

  private:
    Preferences& defaults_;
};

} // namespace ambrel
