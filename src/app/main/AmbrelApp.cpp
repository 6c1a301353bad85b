#include "app/main/AmbrelApp.h"

#include <QApplication>
#include <QMenuBar>
#include <QScreen>
#include <QStyle>
#include <QWindow>

#include "app/main/AppCommands.h"
#include "audio/AudioEngine.h"
#include "download/URLDownloader.h"
#include "platform/desktop/ApplicationBundle.h"
#include "platform/desktop/BringToFront.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/desktop/RecentDocuments.h"
#include "platform/desktop/TerminationSignals.h"
#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "ui/look/Theme.h"
#include "ui/window/ContentView.h"
#include "ui/window/KeyResponderNSView.h"
#include "ui/window/RecentFilesMenu.h"
#include "waveform/WaveformCache.h"

namespace ambrel {
namespace {

constexpr QSize kMinimumSize(680, 580); // points
constexpr QSize kFirstSize(780, 680);

} // namespace

AmbrelApp::AmbrelApp(RunningInstance& instance)
    : instance_(instance), appState_(AppState::create()), engine_(AudioEngine::shared()),
      keyHandler_(engine_),
      settingsScene_(std::in_place,
                     SettingsScene::Services{WaveformCache::shared(), SettingsStore::shared(),
                                             DownloadSettingsStore::shared(), MainQueue::shared()}),
      desktopList_(MainQueue::shared(), 1) {
    appDelegate_.applicationWillFinishLaunching();
    makeMainWindow();
}

/// The window is destroyed first: its views and the loader use everything else.
AmbrelApp::~AmbrelApp() {
    instance_.serve({});
    keyHandler_.stop();
    mediaSession_.reset();
    mainWindow_.reset();
}

void AmbrelApp::makeMainWindow() {
    mainWindow_ = std::make_unique<QMainWindow>();
    mainWindow_->setWindowTitle(QStringLiteral("Ambrel"));
    mainWindow_->resize(Theme::windowSize(kFirstSize, mainWindow_->screen()));
    mainWindow_->winId(); // creates the native window
    const auto limitSize = [window = mainWindow_.get()] {
        window->setMinimumSize(Theme::windowSize(kMinimumSize, window->screen()));
    };
    Theme::follow(mainWindow_.get(), limitSize);
    QObject::connect(mainWindow_->windowHandle(), &QWindow::screenChanged, mainWindow_.get(),
                     limitSize);
    restorePlace();

    new KeyResponderNSView(appState_, engine_, MainQueue::shared(), mainWindow_.get());
    const auto openSettings = [this] { settingsScene_->open(); };
    content_ =
        new ContentView({appState_, engine_, SettingsStore::shared(), RecentFilesStore::shared(),
                         WaveformCache::shared(), MainQueue::shared(), NotificationCenter::shared(),
                         DownloadSettingsStore::shared(), URLDownloader::shared(), openSettings,
                         ApplicationBundle::donationPage()});
    mainWindow_->setCentralWidget(content_);
    const auto* openRecent = commands::addMenus(*mainWindow_->menuBar(), RecentFilesStore::shared(),
                                                NotificationCenter::shared(), openSettings);
    QObject::connect(openRecent, &QMenu::aboutToShow, content_, &ContentView::refillRecentFiles);
    appState_->observe(content_, {AppState::Field::loadingState}, [this] { tellDesktop(); });
}

/// Where the window was last, as far as there is a screen; beside another only its size.
void AmbrelApp::restorePlace() {
    const auto stored = WindowStore::shared().place();
    if (!stored)
        return;
    const QScreen* screen = QGuiApplication::screenAt(stored->area.center());
    const int titleBar = mainWindow_->style()->pixelMetric(QStyle::PM_TitleBarHeight);
    const QRect room = (screen ? screen : mainWindow_->screen())->availableGeometry();
    const QRect area = Theme::movedInto(room.adjusted(0, titleBar, 0, 0), stored->area);
    if (instance_.isLater())
        mainWindow_->resize(area.size());
    else
        mainWindow_->setGeometry(area);
    if (stored->isMaximised)
        mainWindow_->setWindowState(Qt::WindowMaximized);
}

WindowStore::Place AmbrelApp::place() const {
    return {mainWindow_->normalGeometry(), mainWindow_->isMaximized()};
}

/// That a file has been opened.
void AmbrelApp::tellDesktop() {
    if (!appState_->loadingState().isLoaded())
        return;
    const auto adding = desktopList_.run([file = appState_->audioFileURL().value_or(QUrl())] {
        if (RecentDocuments::areWanted())
            RecentDocuments::add(file, QStringLiteral("Ambrel"), QStringLiteral("ambrel"));
    });
}

/// With the sheet that is open over the window, if there is one.
void AmbrelApp::comeToFront(const QString& token) {
    bringToFront(*mainWindow_->windowHandle(), token);
    if (QWidget* sheet = content_->sheet())
        sheet->activateWindow();
}

int AmbrelApp::run(const std::optional<QUrl>& file) {
    QObject::connect(qApp, &QApplication::aboutToQuit, mainWindow_.get(), [this] {
        Preferences::shared().end();
        content_->commitTyping();
        settingsScene_.reset(); // finishes a clear, so that it cannot delete what is saved below
        URLDownloader::shared().stop(); // early, because helpers take a moment to end
        appDelegate_.applicationWillTerminate();
        if (firstPlace_ && place() != firstPlace_)
            WindowStore::shared().setPlace(place());
    });
    QObject::connect(qApp, &QApplication::focusWindowChanged, mainWindow_.get(), [this] {
        if (!firstPlace_) // it is in place, and the user can change that
            firstPlace_ = place();
    });
    const TerminationSignals signalsToQuit([] { QApplication::exit(0); });
    mainWindow_->show();
    appDelegate_.setAppState(appState_);
    keyHandler_.start(appState_);
    mediaSession_.emplace(appState_, engine_, [this] { comeToFront({}); });
    instance_.serve([this](const RunningInstance::Request& request) {
        comeToFront(request.token);
        content_->open(request.urls);
    });
    if (file)
        content_->loadFile(*file, false);
    return QApplication::exec();
}

} // namespace ambrel
