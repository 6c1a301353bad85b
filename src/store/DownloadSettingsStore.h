#pragma once

#include <QUrl>

namespace ambrel {

class Preferences;

/// The folder into which downloads go: its path as a text under "AMB.downloadDirectory", or without
/// one the Downloads folder of the user's home. Whether there is such a folder is for whoever uses
/// it to find out. Main thread only.
class DownloadSettingsStore {
  public:
    explicit DownloadSettingsStore(Preferences& defaults);

    static DownloadSettingsStore& shared();

    /// As stored now.
    QUrl downloadDirectory() const;
    void setDownloadDirectory(const QUrl& folder);

    /// From now on it is the default again.
    void resetDownloadDirectory();

  private:
    Preferences& defaults_;
};

} // namespace ambrel
