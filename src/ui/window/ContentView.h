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
class DropTarget;
class LoadingScreen;
class MainQueue;
class OpenFromURLSheet;
class OpenPanel;
class RecentFilesStore;
class SettingsStore;
class URLDownloader;
class WaveformCache;

/// The content of the main window: the header bar, and below it the screen for the loading state.
/// It owns the FileLoader, shows the error alert and the open panel, and carries out the menus'
/// notifications. Main thread only.
class ContentView : public QScrollArea {
    Q_OBJECT

  public:
    /// What the view uses. Everything but the state and the engine must outlive it.
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
        QUrl donationPage = {}; ///< empty: no donation button
    };

    /// Connects the engine to the state.
    explicit ContentView(const Services& services, QWidget* parent = nullptr);
    ~ContentView() override;

    /// Shows the open panel; the chosen file starts with the defaults.
    void openFile();

    /// As FileLoader::loadFile, after committing text being typed, which belongs to the previous
    /// file.
    void loadFile(const QUrl& url, bool restoreSettings);

    /// Opens the first of `urls` that is an audio file, as the open panel would. A web address in
    /// front of them opens the sheet for it; if there is no audio, an alert says why, and the open
    /// file stays.
    QCoro::Task<> open(QList<QUrl> urls);

    /// The sheet, alert or panel that is open over the window; null if none is.
    QWidget* sheet() const;

    /// Commits the text being typed into any field.
    void commitTyping();

    /// Shows the recent files as stored now, since another Ambrel may have changed them. Called
    /// whenever the window becomes active.
    void refillRecentFiles();

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void observeNotifications(NotificationCenter& notifications);
    void showScreen();
    void showHelp();
    void showOpenFromURL(const QString& address = {});
    QUrl folderOfLastFile() const;
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
    LoadingScreen* loadingScreen_ = nullptr; ///< set while a file loads
    LoadingState::Kind shownKind_ = LoadingState::Kind::idle;
    QPointer<OpenPanel> openPanel_;
    QPointer<ErrorAlert> errorAlert_;
    QPointer<HelpSheet> helpSheet_;
    QPointer<OpenFromURLSheet> openFromURLSheet_;
    DropTarget* drops_ = nullptr;
    FileLoader loader_;
    int choices_ = 0;       ///< of files to open, made so far
    BackgroundQueue looks_; ///< at files
    std::vector<std::unique_ptr<NotificationCenter::Observation>> observations_;
};

} // namespace ambrel
