#pragma once

#include <QPointer>

#include "app/CacheMaintenance.h"

namespace ambrel {

class DownloadSettingsStore;
class MainQueue;
class SettingsStore;
class SettingsWindow;
class WaveformCache;

/// The application's settings window, of which there is at most one, created on demand. Lives as
/// long as the application, so that what was started in the window is finished after it has closed.
/// Main thread only.
class SettingsScene {
  public:
    /// All of it must outlive the scene.
    struct Services {
        WaveformCache& cache;
        SettingsStore& settings;
        DownloadSettingsStore& downloads;
        MainQueue& mainQueue;
    };

    explicit SettingsScene(const Services& services);
    ~SettingsScene();

    /// Shows the window, or brings it to the front.
    void open();

  private:
    Services services_;
    CacheMaintenance maintenance_;
    QPointer<SettingsWindow> window_;
};

} // namespace ambrel
