#pragma once

#include <QPointer>

#include "app/CacheMaintenance.h"

namespace ambrel {

class DownloadSettingsStore;
class MainQueue;
class SettingsStore;
class SettingsWindow;
class WaveformCache;

/// The application's settings window: there is never more than one, made when it is wanted. Lives
/// as long as the application, so that what was begun in the window is finished without it. Main
/// thread only.
class SettingsScene {
  public:
    /// All of it outlives the scene.
    struct Services {
        WaveformCache& cache;
        SettingsStore& settings;
        DownloadSettingsStore& downloads;
        MainQueue& mainQueue;
    };

    explicit SettingsScene(const Services& services);
    ~SettingsScene();

    /// Shows the window, or brings the one that is open to the front.
    void open();

  private:
    Services services_;
    CacheMaintenance maintenance_;
    QPointer<SettingsWindow> window_;
};

} // namespace ambrel
