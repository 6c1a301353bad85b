#include "ui/window/ContentView.h"

#include <utility>

#include <QDesktopServices>
#include <QDialog>
#include <QKeyEvent>
#include <QStandardPaths>
#include <QVBoxLayout>

#include "app/Notifications.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "audio/LocalPath.h"
#include "download/sheet/OpenFromURLSheet.h"
#include "store/RecentFilesStore.h"
#include "ui/controls/NumberField.h"
#include "ui/look/Divider.h"
#include "ui/sheets/ErrorAlert.h"
#include "ui/sheets/HelpSheet.h"
#include "ui/sheets/OpenPanel.h"
#include "ui/sheets/SheetBlocker.h"
#include "ui/window/Announcer.h"
#include "ui/window/DropTarget.h"
#include "ui/window/HeaderBar.h"
#include "ui/window/LoadingScreen.h"
#include "ui/window/WelcomeScreen.h"
#include "ui/window/WorkingScreen.h"

namespace ambrel {
namespace {

/// A disk that does not answer delays no other.
constexpr int kLookThreads = 8;

struct Choice {
    QUrl file;       ///< empty if none is audio
    QString refusal; ///< the sentence for the first
};

/// Reads from the disk: not for the main thread.
Choice firstAudioFile(const QList<QUrl>& urls) {
    Choice choice;
    for (const QUrl& url : urls) {
        try {
            AudioEngine::openLocally(url);
            return {url, {}};
        } catch (const std::exception& error) {
            if (choice.refusal.isEmpty())
                choice.refusal = QString::fromUtf8(error.what());
        }
    }
    return choice;
}

} // namespace

ContentView::ContentView(const Services& services, QWidget* parent)
    : QScrollArea(parent), state_(services.state), engine_(services.engine),
      recentFiles_(services.recentFiles), downloadSettings_(services.downloadSettings),
      downloader_(services.downloader), column_(new QVBoxLayout),
      loader_(services.state, services.engine, services.settings, services.waveformCache,
              services.recentFiles, services.mainQueue,
              [this](const QString& message) { showError(message); }),
      looks_(services.mainQueue, kLookThreads) {
    refillRecentFiles();
    engine_->setAppState(state_);

    auto* header = new HeaderBar(state_, recentFiles_, services.notifications,
                                 !services.donationPage.isEmpty());
    auto* page = new QWidget;
    page->setLayout(column_);
    column_->setContentsMargins(0, 0, 0, 0);
    column_->setSpacing(0);
    setWidget(page); // scrolls where the screen has no room for what is needed
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    column_->addWidget(header);
    column_->addWidget(new Divider);

    connect(header, &HeaderBar::openFileRequested, this, &ContentView::openFile);
    connect(header, &HeaderBar::openFromURLRequested, this, [this] { showOpenFromURL(); });
    connect(header, &HeaderBar::recentFilesWanted, this, &ContentView::refillRecentFiles);
    state_->observe(this, {AppState::Field::loadingState}, [this] { showScreen(); });
    state_->observe(this, {AppState::Field::isShowingHelp}, [this] { showHelp(); });
    connect(header, &HeaderBar::settingsRequested, this, services.openSettings);
    connect(header, &HeaderBar::helpRequested, this, [this] { state_->setIsShowingHelp(true); });
    connect(header, &HeaderBar::donationRequested, this,
            [page = services.donationPage] { QDesktopServices::openUrl(page); });
    observeNotifications(services.notifications);
    new Announcer(state_, this);
}

ContentView::~ContentView() {
    // Late reports of the loader and the sheets would find a view being destroyed.
    disconnect(state_.get(), nullptr, this, nullptr);
}

/// Escape removes the focus from a control, so that Space plays again.
void ContentView::keyPressEvent(QKeyEvent* event) {
    QWidget* holder = window()->focusWidget();
    if (event->key() != Qt::Key_Escape || !holder || !isAncestorOf(holder))
        return QScrollArea::keyPressEvent(event);
    holder->clearFocus();
}

/// Only now it is known which window it is in.
void ContentView::showEvent(QShowEvent* event) {
    QScrollArea::showEvent(event);
    if (drops_)
        return;
    drops_ = new DropTarget(window(), [this] { return !sheet(); });
    connect(drops_, &DropTarget::dropped, this, &ContentView::open);
}

bool ContentView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate)
        refillRecentFiles();
    return QScrollArea::event(event);
}

void ContentView::observeNotifications(NotificationCenter& notifications) {
    const auto observe = [this, &notifications](const QString& name, auto action) {
        observations_.push_back(
            notifications.observe(name, [action](const QVariant& object) { action(object); }));
    };
    const auto observeTransport = [&](const QString& name,
                                      void (*action)(AppState&, AudioEngine&)) {
        observe(name, [this, action](const QVariant&) { action(*state_, *engine_); });
    };
    observe(notifications::openFile, [this](const QVariant&) { openFile(); });
    observe(notifications::openFromURL, [this](const QVariant&) { showOpenFromURL(); });
    observe(notifications::openRecent, [this](const QVariant& object) {
        // A text would convert to an address.
        const bool isURL = object.metaType() == QMetaType::fromType<QUrl>();
        if (isURL && object.toUrl().isLocalFile())
            loadFile(object.toUrl(), true);
    });
    observe(notifications::clearRecents, [this](const QVariant&) { clearRecents(); });
    observe(notifications::showHelp, [this](const QVariant&) { state_->setIsShowingHelp(true); });
    observeTransport(notifications::toggleLoop, transport::toggleLoop);
    observeTransport(notifications::stopReset, transport::stopAndRewind);
    observeTransport(notifications::decreaseSpeed, transport::decreaseSpeed);
    observeTransport(notifications::increaseSpeed, transport::increaseSpeed);
    observeTransport(notifications::pitchUp, transport::pitchUp);
    observeTransport(notifications::pitchDown, transport::pitchDown);
}

void ContentView::showScreen() {
    const LoadingState& loading = state_->loadingState();
    if (!screen_ || loading.kind != shownKind_) {
        if (screen_) { // deleted later: this may be called from its own button
            screen_->hide();
            screen_->deleteLater();
        }
        shownKind_ = loading.kind;
        screen_ = makeScreen(loading);
        column_->addWidget(screen_, 1);
        screen_->show(); // the layout would do so a turn later and show nothing until then
    }
    if (loadingScreen_)
        loadingScreen_->setMessage(loading.message);
}

QWidget* ContentView::makeScreen(const LoadingState& loading) {
    loadingScreen_ = nullptr;
    if (loading.isLoading())
        return loadingScreen_ = new LoadingScreen;
    if (loading.isLoaded())
        return new WorkingScreen(state_, engine_);
    auto* welcome = new WelcomeScreen(state_);
    connect(welcome, &WelcomeScreen::openFileRequested, this, &ContentView::openFile);
    connect(welcome, &WelcomeScreen::openFromURLRequested, this, [this] { showOpenFromURL(); });
    connect(welcome, &WelcomeScreen::recentFileChosen, this,
            [this](const QUrl& file) { loadFile(file, true); });
    connect(welcome, &WelcomeScreen::clearRecentsRequested, this, &ContentView::clearRecents);
    return welcome;
}

void ContentView::refillRecentFiles() {
    state_->setRecentFiles(recentFiles_.all());
}

void ContentView::clearRecents() {
    recentFiles_.clear();
    state_->setRecentFiles({});
}

void ContentView::showHelp() {
    if (!state_->isShowingHelp()) {
        if (helpSheet_)
            helpSheet_->close();
        return;
    }
    if (helpSheet_)
        return helpSheet_->activateWindow();
    helpSheet_ = new HelpSheet(this);
    connect(helpSheet_, &HelpSheet::finished, this, [this] {
        helpSheet_.clear();
        state_->setIsShowingHelp(false);
    });
    SheetBlocker::present(helpSheet_, window());
}

void ContentView::showOpenFromURL(const QString& address) {
    if (openFromURLSheet_)
        return openFromURLSheet_->activateWindow();
    const auto close = [this] {
        std::exchange(openFromURLSheet_, nullptr)->done(QDialog::Accepted);
    };
    openFromURLSheet_ = new OpenFromURLSheet(
        downloader_, downloadSettings_,
        [this, close](const QUrl& file) {
            close();
            loadFile(file, false);
        },
        close, this);
    openFromURLSheet_->fillIn(address);
    SheetBlocker::present(openFromURLSheet_, window());
}

void ContentView::openFile() {
    if (openPanel_) {
        openPanel_->raise();
        openPanel_->activateWindow();
        return;
    }
    openPanel_ = new OpenPanel(folderOfLastFile(), this);
    connect(openPanel_, &OpenPanel::chosen, this,
            [this](const QUrl& url) { loadFile(url, false); });
    SheetBlocker::present(openPanel_, window());
}

QUrl ContentView::folderOfLastFile() const {
    const QList<QUrl>& recent = state_->recentFiles();
    const QUrl last = recent.value(0, state_->audioFileURL().value_or(QUrl()));
    if (last.isLocalFile())
        return last.adjusted(QUrl::RemoveFilename);
    return QUrl::fromLocalFile(QStandardPaths::writableLocation(QStandardPaths::MusicLocation));
}

QCoro::Task<> ContentView::open(QList<QUrl> urls) {
    if (urls.isEmpty())
        co_return;
    const QString address =
        OpenFromURLSheet::webAddressIn(urls.first().toString(QUrl::FullyEncoded));
    if (!address.isEmpty()) {
        showOpenFromURL(address);
        co_return;
    }
    const QPointer self(this);
    const int number = ++choices_;
    Choice choice;
    try {
        auto looking = looks_.run([urls = std::move(urls)] { return firstAudioFile(urls); });
        choice = co_await looking;
    } catch (const BackgroundQueue::Ended&) {
        co_return;
    }
    if (!self || number != choices_) // something else has been chosen since
        co_return;
    if (choice.file.isEmpty())
        showError(choice.refusal);
    else
        loadFile(choice.file, false);
}

QWidget* ContentView::sheet() const {
    QWidget* uppermost = nullptr;
    for (QDialog* sheet : window()->findChildren<QDialog*>()) {
        if (sheet->isVisible())
            uppermost = sheet;
    }
    return uppermost;
}

void ContentView::loadFile(const QUrl& url, bool restoreSettings) {
    ++choices_;
    commitTyping();
    loader_.loadFile(localFile(url), restoreSettings);
}

void ContentView::commitTyping() {
    for (NumberField* field : findChildren<NumberField*>())
        field->commitTyping();
}

void ContentView::showError(const QString& message) {
    const bool isNew = !errorAlert_;
    if (isNew)
        errorAlert_ = new ErrorAlert(this);
    errorAlert_->setMessage(message.isEmpty() ? QStringLiteral("Unknown error") : message);
    if (isNew)
        SheetBlocker::present(errorAlert_, window()); // with its text, which gives it its place
}

} // namespace ambrel
