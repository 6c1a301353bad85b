#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QPointer>
#include <QScrollArea>
#include <QUrl>

#include "app/AppState.h"
#include "app/FileLoader.h"
#include "platform/desktop/NotificationCenter.h"

class QBoxLayout;

namespace ambrel {

class AudioEngine;
class ErrorAlert;
class HelpSheet;
class DownloadSettingsStore;
class LoadingScreen;
class MainQueue;
class OpenFromURLSheet;
class OpenPanel;
class RecentFilesStore;
class SettingsStore;
class URLDownloader;
class WaveformCache;

/// The content of the main window: the header bar, and below it the screen that suits the loading
/// state. It owns the loading of files, shows the error alert and the open panel, and carries out
/// what the menus post. Main thread only.
class ContentView : public QScrollArea {
    Q_OBJECT

  public:
    /// What the view works with. All but the state and the engine outlive it.
    struct Services {
        std::shared_ptr<AppState> state;
        std::shared_ptr<AudioEngine> engine;
        SettingsStore& settings;
        RecentFilesStore& recentFiles;
        WaveformCache& waveformCache;
        MainQueue& mainQueue;
        NotificationCenter& notifications;
        DownloadSettingsStore& downloadSettings;
        URLDownloader& downloader;
        std::function<void()> openSettings = [] {};
        QUrl donationPage = {}; ///< none: no button for it
    };

    /// From here on the engine reports to the state.
    explicit ContentView(const Services& services, QWidget* parent = nullptr);
    ~ContentView() override;

    /// Shows the open panel; the file chosen starts with the defaults.
    void openFile();

    /// As FileLoader::loadFile, once what is being typed is committed for the file that goes.
    void loadFile(const QUrl& url, bool restoreSettings);

    /// Commits what is being typed into a field, wherever the focus is.
    void commitTyping();

    /// Shows the recent files as they are stored now: another copy of the program may have changed
    /// them. Done by itself whenever the window becomes active.
    void refillRecentFiles();

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void observeNotifications(NotificationCenter& notifications);
    void showScreen();
    void showHelp();
    void showOpenFromURL();
    QWidget* makeScreen(const LoadingState& loading);
    void clearRecents();
    void showError(const QString& message);

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    RecentFilesStore& recentFiles_;
    DownloadSettingsStore& downloadSettings_;
    URLDownloader& downloader_;
    QBoxLayout* column_;
    QPointer<QWidget> screen_;
    LoadingScreen* loadingScreen_ = nullptr; ///< the screen, while a file loads
    LoadingState::Kind shownKind_ = LoadingState::Kind::idle;
    QPointer<OpenPanel> openPanel_;
    QPointer<ErrorAlert> errorAlert_;
    QPointer<HelpSheet> helpSheet_;
    QPointer<OpenFromURLSheet> openFromURLSheet_;
    FileLoader loader_;
    std::vector<std::unique_ptr<NotificationCenter::Observation>> observations_;
};

} // namespace ambrel
