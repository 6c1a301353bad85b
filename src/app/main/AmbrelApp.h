#pragma once

#include <memory>
#include <optional>

#include <QMainWindow>
#include <QUrl>

#include "app/AppState.h"
#include "app/main/AppDelegate.h"
#include "app/main/MediaSession.h"
#include "platform/desktop/BackgroundQueue.h"
#include "platform/desktop/RunningInstance.h"
#include "store/WindowStore.h"
#include "ui/controls/PasteGuard.h"
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
    /// `instance` must outlive the application, which serves it.
    explicit AmbrelApp(RunningInstance& instance);
    ~AmbrelApp();

    /// Shows the main window, opens `file` as the open panel would, and runs the main loop until
    /// the application quits. Returns the exit status.
    int run(const std::optional<QUrl>& file);

  private:
    void makeMainWindow();
    void restorePlace();
    WindowStore::Place place() const;
    void tellDesktop();
    void comeToFront(const QString& token);

    RunningInstance& instance_;

    AppDelegate appDelegate_;
    std::shared_ptr<AppState> appState_;
    std::shared_ptr<AudioEngine> engine_;
    KeyHandler keyHandler_;
    PasteGuard pasteGuard_;
    std::optional<SettingsScene> settingsScene_; ///< until the application ends
    std::unique_ptr<QMainWindow> mainWindow_;
    std::optional<WindowStore::Place> firstPlace_; ///< where the desktop has put the window
    ContentView* content_ = nullptr;
    std::optional<MediaSession> mediaSession_; ///< once the window is shown
    BackgroundQueue desktopList_;              ///< adds to the desktop's recent documents
};

} // namespace ambrel
