#pragma once

#include <QTemporaryDir>

#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "waveform/WaveformCache.h"

namespace ambrel::test {

/// Empty stores in a folder of their own, for as long as it lives.
class TemporarySettings {
  public:
    Preferences& preferences() { return preferences_; }
    SettingsStore& store() { return store_; }
    RecentFilesStore& recentFiles() { return recentFiles_; }
    WaveformCache& waveformCache() { return waveformCache_; }
    DownloadSettingsStore& downloads() { return downloads_; }

  private:
    QTemporaryDir folder_;
    Preferences preferences_{folder_.filePath(QStringLiteral("preferences.sqlite")).toStdString()};
    SettingsStore store_{preferences_};
    RecentFilesStore recentFiles_{preferences_};
    WaveformCache waveformCache_{preferences_};
    DownloadSettingsStore downloads_{preferences_};
};

} // namespace ambrel::test
