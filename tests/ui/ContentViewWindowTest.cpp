#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include "app/Notifications.h"
#include "support/TestWindow.h"
#include "ui/controls/Spinner.h"
#include "ui/controls/SymbolButton.h"
#include "ui/sheets/OpenPanel.h"

using namespace ambrel;
using Window = test::TestWindow;

/// The main window on a scripted sound graph, driven by events as a user would.
class ContentViewWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void showsTheScreenOfTheLoadingState() {
        Window w;
        QVERIFY(w.find(u"Open File…"_qs));
        QVERIFY(!w.find(u"Open File..."_qs) && !w.find(u"Status"_qs) && !w.find(u"Busy"_qs));

        w.state->setAudioFileURL(QUrl(u"file:///music/song.wav"_qs));
        w.state->setLoadingState(LoadingState::loading(u"Generating waveform... 40%"_qs));
        QVERIFY(!w.find(u"Open File…"_qs));
        QVERIFY(!w.find(u"Open File..."_qs)->isEnabled());
        QVERIFY(!w.find(u"Open from URL..."_qs)->isEnabled());
        QCOMPARE(w.textOf(u"Status"_qs), u"Generating waveform... 40%"_qs);
        QCOMPARE(w.textOf(u"Progress"_qs), u"Generating waveform... 40%"_qs);
        auto* busy = QAccessible::queryAccessibleInterface(w.find(u"Busy"_qs));
        QVERIFY(busy->role() == QAccessible::ProgressBar && busy->state().busy);

        w.showFile();
        QVERIFY(w.find(u"Open File..."_qs)->isEnabled());
        QVERIFY(w.find(u"Open from URL..."_qs)->isEnabled());
        QCOMPARE(w.textOf(u"Status"_qs), u"song.wav"_qs);
        QVERIFY(w.find(u"Waveform"_qs) && w.find(u"Play"_qs) && w.find(u"Position"_qs));
        QVERIFY(!w.find(u"Progress"_qs));
        for (const Spinner* spinner : w.window.findChildren<Spinner*>())
            QVERIFY(!spinner->isTurning());

        w.state->setAudioFileURL(std::nullopt);
        w.state->setLoadingState(LoadingState::idle());
        QVERIFY(w.find(u"Open File…"_qs) && !w.find(u"Waveform"_qs) && !w.find(u"Status"_qs));
    }

    void showsNamesAsTheyAre() {
        Window w;
        for (const QString& name : {u"Rock & Roll <b>live<br>.mp3"_qs, QString(250, u'x')}) {
            w.showFile(name);
            QCOMPARE(w.textOf(u"Status"_qs), name);
            QVERIFY(w.find(u"Status"_qs)->width() <= w.content->width());
            QCOMPARE(w.window.width(), 780);
        }
    }

    void positionIsTruncatedToMilliseconds_data() {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << u"00:00.000"_qs;
        QTest::newRow("truncated") << 1.9999 << u"00:01.999"_qs;
        QTest::newRow("minutes") << 83.0456 << u"01:23.045"_qs;
        QTest::newRow("an hour") << 3600.0 << u"60:00.000"_qs;
        QTest::newRow("longest") << 59999.999 << u"999:59.999"_qs;
    }
    void positionIsTruncatedToMilliseconds() {
        QFETCH(double, seconds);
        Window w;
        w.showFile();
        w.state->setPlaybackPosition(seconds);
        QTEST(w.textOf(u"Position"_qs), "text");
        const QWidget* readOut = w.find(u"Position"_qs);
        QVERIFY(readOut->width() >=
                readOut->fontMetrics().horizontalAdvance(w.textOf(u"Position"_qs)));
    }

    void playButtonAlwaysStartsAtTheRegionsStart() {
        Window w;
        w.showFile();
        for (int i = 0; i < 2; ++i) {
            QTest::mouseClick(w.find(u"Play"_qs), Qt::LeftButton);
            QVERIFY(w.state->isPlaying());
            QCOMPARE(w.state->playbackPosition(), 1.0);
            QCOMPARE(w.find(u"Pause"_qs)->toolTip(), u"Pause"_qs);
            QVERIFY(w.responder->hasFocus()); // so that Space goes on playing
            w.state->setPlaybackPosition(2);
            QTest::mouseClick(w.find(u"Pause"_qs), Qt::LeftButton);
            QCOMPARE(w.state->playbackPosition(), 2.0);
            QCOMPARE(w.find(u"Play"_qs)->toolTip(), u"Play"_qs);
        }
        w.state->setRegionEnd(1);
        QTest::mouseClick(w.find(u"Play"_qs), Qt::LeftButton);
        QVERIFY(!w.state->isPlaying());
    }

    void spacePlaysWithAnyModifierButControl_data() {
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<bool>("plays");
        QTest::newRow("alone") << Qt::KeyboardModifiers() << true;
        QTest::newRow("Shift") << Qt::KeyboardModifiers(Qt::ShiftModifier) << true;
        QTest::newRow("Alt") << Qt::KeyboardModifiers(Qt::AltModifier) << true;
        QTest::newRow("Control") << Qt::KeyboardModifiers(Qt::ControlModifier) << false;
    }
    void spacePlaysWithAnyModifierButControl() {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(bool, plays);
        Window w;
        w.showFile();
        w.press(Qt::Key_Space, modifiers);
        QCOMPARE(w.state->isPlaying(), plays);
    }

    void aControlReachedByTabKeepsSpaceUntilItLetsGo() {
        Window w;
        w.showFile();
        w.press(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), w.find(u"Open File..."_qs));
        while (QApplication::focusWidget() != w.find(u"Play"_qs))
            w.press(Qt::Key_Tab);
        w.press(Qt::Key_Space);
        QVERIFY(w.state->isPlaying());

        while (QApplication::focusWidget() != w.find(u"Fit Region"_qs))
            w.press(Qt::Key_Backtab, Qt::ShiftModifier);
        w.press(Qt::Key_Space);
        QVERIFY(w.state->isPlaying() && w.state->zoomLevel() > 1);

        w.press(Qt::Key_Escape);
        QTRY_VERIFY(w.responder->hasFocus());
        w.press(Qt::Key_Space);
        QVERIFY(!w.state->isPlaying());
    }

    void focusOfAControlThatGoesAwayFallsBack() {
        Window w;
        w.showFile();
        const auto focusOn = [&w](const QString& name) {
            w.find(name)->setFocus(Qt::TabFocusReason);
            QVERIFY(w.find(name)->hasFocus());
        };
        focusOn(u"Open File..."_qs); // is disabled while a file loads
        w.state->setLoadingState(LoadingState::loading(u"Opening file..."_qs));
        QTRY_VERIFY(w.responder->hasFocus());

        w.showFile();
        focusOn(u"Play"_qs); // goes away with its screen
        w.state->setLoadingState(LoadingState::idle());
        QTRY_VERIFY(w.responder->hasFocus());

        focusOn(u"Open File…"_qs); // goes away while another window is active
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        w.showFile();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        w.window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&w.window));
        QTRY_VERIFY(w.responder->hasFocus());
    }

    void opensARecentFileOnlyWhenGivenOne() {
        Window w;
        for (const QVariant& object : {QVariant(), QVariant(7), QVariant(u"file:///music/a.mp3"_qs),
                                       QVariant(QUrl(u"https://example.org/a.mp3"_qs))})
            w.notifications.post(notifications::openRecent, object);
        QVERIFY(w.state->loadingState().isIdle());
        for (const auto& address : {u"file:///music/a.mp3"_qs, u"file://localhost/music/a.mp3"_qs,
                                    u"file:////music/../music/a.mp3"_qs}) {
            w.notifications.post(notifications::openRecent, QUrl(address));
            QVERIFY(w.state->loadingState().isLoading());
            QCOMPARE(w.state->audioFileURL(), QUrl(u"file:///music/a.mp3"_qs));
        }
    }

    void anErrorIsShownOnceAndInFull() {
        Window w;
        const QString name = QString(120, u'a') + u" & <b>.mp3"_qs;
        for (int i = 0; i < 2; ++i) {
            w.content->loadFile(QUrl::fromLocalFile(u"/music/"_qs + name), false);
            QTRY_VERIFY(w.state->loadingState().isIdle());
        }
        const auto alerts = w.window.findChildren<QMessageBox*>();
        QCOMPARE(alerts.size(), 1);
        QMessageBox* alert = alerts.first();
        QVERIFY(alert->isVisible());
        QCOMPARE(alert->windowTitle(), u"Error"_qs);
        QVERIFY(alert->width() < 780);
        QVERIFY(alert->findChild<QLabel*>(u"qt_msgbox_label"_qs)->accessibleName().contains(name));
        QVERIFY(!w.state->audioFileURL());

        // The window behind it takes no clicks, yet can be closed at once.
        const QPoint button = w.find(u"Open File…"_qs)->mapTo(&w.window, QPoint(20, 10));
        QTest::mouseClick(w.window.windowHandle(), Qt::LeftButton, {}, button);
        QVERIFY(!w.window.findChild<OpenPanel*>());
        QTest::mouseClick(alert->button(QMessageBox::Ok), Qt::LeftButton);
        QVERIFY(!alert->isVisible());
        QTest::mouseClick(w.window.windowHandle(), Qt::LeftButton, {}, button);
        QVERIFY(w.window.findChild<OpenPanel*>());
        w.content->openFile();
        QCOMPARE(w.window.findChildren<OpenPanel*>().size(), 1);
        QVERIFY(w.window.close());
    }

    void theFileChosenInTheOpenPanelIsLoaded() {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"take 1.wav"_qs);
        QFile(path).open(QIODevice::WriteOnly);
        Window w;
        w.content->openFile();
        auto* panel = w.window.findChild<OpenPanel*>();
        panel->findChild<QLineEdit*>()->setText(path);
        QMetaObject::invokeMethod(panel, "accept");
        QVERIFY(w.state->loadingState().isLoading());
        QCOMPARE(w.state->audioFileURL(), QUrl::fromLocalFile(path));
    }

    void stepsOfThePlayHeadLayNothingOut() {
        Window w;
        w.showFile();
        struct LayoutCounter : QObject {
            int count = 0;
            bool eventFilter(QObject*, QEvent* event) override {
                count += event->type() == QEvent::LayoutRequest ? 1 : 0;
                return false;
            }
        } counter;
        qApp->installEventFilter(&counter);
        const auto layoutsAfter = [&](double seconds) {
            counter.count = 0;
            w.state->setPlaybackPosition(seconds);
            QCoreApplication::processEvents();
            return counter.count;
        };
        QTRY_COMPARE(layoutsAfter(1), 0); // the window has come to rest
        for (int step = 1; step <= 20; ++step)
            QCOMPARE(layoutsAfter(1 + step * 0.05), 0);
    }
};

QTEST_MAIN(ContentViewWindowTest)
#include "ContentViewWindowTest.moc"
