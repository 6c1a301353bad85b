#pragma once

#include <memory>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QTest>

#include "app/main/AppCommands.h"
#include "audio/AudioEngine.h"
#include "download/URLDownloader.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/NotificationCenter.h"
#include "support/ScriptedGraph.h"
#include "support/TemporarySettings.h"
#include "ui/settings/SettingsScene.h"
#include "ui/window/ContentView.h"
#include "ui/window/KeyHandler.h"
#include "ui/window/KeyResponderNSView.h"

namespace ambrel::test {

/// The shown control of that kind which a screen reader finds under that name or description.
template <typename Control = QWidget> Control* findIn(const QWidget& window, const QString& text) {
    for (Control* control : window.findChildren<Control*>()) {
        auto* spoken =
            control->isVisible() ? QAccessible::queryAccessibleInterface(control) : nullptr;
        if (spoken && (spoken->text(QAccessible::Name) == text ||
                       spoken->text(QAccessible::Description) == text))
            return control;
    }
    return nullptr;
}

inline void clickIn(const QWidget& window, const QString& button) {
    QTest::mouseClick(findIn<QAbstractButton>(window, button), Qt::LeftButton);
}

inline void activate(QWidget& window) {
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("the window is not active");
}

/// The main window with its menus and keys on a scripted sound graph, driven by events as a user
/// would.
struct TestWindow {
    TemporarySettings settings;
    MainQueue mainQueue;
    NotificationCenter notifications;
    QTemporaryDir helpers; ///< where the downloader looks for them
    URLDownloader downloader{mainQueue, helpers.path()};
    ScriptedGraph* graph = new ScriptedGraph;
    std::shared_ptr<AppState> state = AppState::create(settings.store(), mainQueue);
    std::shared_ptr<AudioEngine> engine =
        AudioEngine::create(std::unique_ptr<AudioGraph>(graph), mainQueue,
                            [this](const QUrl& url) { return graph->open(url); });
    KeyHandler keyHandler{engine};
    QMainWindow window;
    KeyResponderNSView* responder = new KeyResponderNSView(state, engine, mainQueue, &window);
    SettingsScene settingsScene{
        {settings.waveformCache(), settings.store(), settings.downloads(), mainQueue}};
    ContentView* content;

    explicit TestWindow(const QUrl& donationPage = {}) {
        const auto openSettings = [this] { settingsScene.open(); };
        content = new ContentView({state, engine, settings.store(), settings.recentFiles(),
                                   settings.waveformCache(), mainQueue, notifications,
                                   settings.downloads(), downloader, openSettings, donationPage});
        window.setCentralWidget(content);
        commands::addMenus(*window.menuBar(), settings.recentFiles(), notifications, openSettings);
        keyHandler.start(state);
        window.resize(780, 680);
        activate(window);
    }

    /// As the loader leaves it, with the region from 1 s to 3 s.
    void showFile(const QString& name = QStringLiteral("song.wav")) {
        const QUrl file = QUrl::fromLocalFile(u"/music/"_qs + name);
        graph->addFile(file, 10);
        QCoro::waitFor(engine->load(file));
        graph->takeCalls();
        state->setAudioFileURL(file);
        state->beginSettings(file);
        state->setAudioDuration(10);
        state->setRegion(1, 3);
        state->setWaveformSamples({0.5F, 1.0F, 0.25F});
        state->setLoadingState(LoadingState::loaded());
    }

    template <typename Control = QWidget> Control* find(const QString& text) const {
        return findIn<Control>(window, text);
    }

    QString textOf(const QString& description) const {
        const auto* label = find<QLabel>(description);
        return label ? label->text() : QString();
    }

    void click(const QString& button) const { clickIn(window, button); }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
};

/// The window with a file open, and its fields as a user types into them.
struct Practice : TestWindow {
    Practice() { showFile(); }

    QLineEdit* field(const QString& name) const { return find<QLineEdit>(name); }

    /// Clicks into the field and types.
    QLineEdit* beginTyping(const QString& name, const QString& text) const {
        QLineEdit* where = field(name);
        QTest::mouseClick(where, Qt::LeftButton);
        QTest::keyClicks(where, text);
        return where;
    }

    /// And then Return or another key.
    void type(const QString& name, const QString& text, Qt::Key end = Qt::Key_Return) const {
        QTest::keyClick(beginTyping(name, text), end);
    }
};

} // namespace ambrel::test
