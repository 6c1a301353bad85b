#pragma once

#include <memory>
#include <optional>

#include <QMainWindow>
#include <QUrl>

#include "app/AppState.h"
#include "app/main/AppDelegate.h"
#include "app/main/MediaSession.h"
#include "ui/settings/SettingsScene.h"
#include "ui/window/KeyHandler.h"

namespace ambrel {

class AudioEngine;
class ContentView;

/// The assembled application: one state, one delegate, the main window and the settings window, on
/// the shared services.
///
/// Main thread only, within the life of the QApplication.
class AmbrelApp {
  public:
    AmbrelApp();
    ~AmbrelApp();

    /// Shows the main window, opens `file` as the open panel would, and runs the main loop until
    /// the application quits. Returns the exit status.
    int run(const std::optional<QUrl>& file);

  private:
    void makeMainWindow();
    void raise();

    AppDelegate appDelegate_;
    std::shared_ptr<AppState> appState_;
    std::shared_ptr<AudioEngine> engine_;
    KeyHandler keyHandler_;
    std::optional<SettingsScene> settingsScene_; ///< until the application ends
    std::unique_ptr<QMainWindow> mainWindow_;
    ContentView* content_ = nullptr;
    std::optional<MediaSession> mediaSession_; ///< once the window is shown
};

} // namespace ambrel
