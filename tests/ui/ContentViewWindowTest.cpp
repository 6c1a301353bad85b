#include <algorithm>
#include <cmath>

#include <QMessageBox>
#include <QPaintEvent>
#include <QScrollArea>

#include "app/Notifications.h"
#include "support/TestWindow.h"
#include "ui/look/Spinner.h"
#include "ui/look/Theme.h"
#include "ui/sheets/OpenPanel.h"

using namespace ambrel;
using test::activate;
using test::Practice;
using Window = test::TestWindow;

/// The main window on a scripted sound graph, driven by events as a user would.
class ContentViewWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void showsTheScreenOfTheLoadingState() {
        Window w;
        w.state->setAudioFileURL(QUrl(u"file:///music/song.wav"_qs));
        w.state->setLoadingState(LoadingState::loading(u"Generating waveform... 40%"_qs));
        QVERIFY(!w.find(u"Open File…"_qs) && !w.find(u"Open File..."_qs)->isEnabled() &&
                !w.find(u"Open from URL..."_qs)->isEnabled());
        QCOMPARE(w.textOf(u"Progress"_qs), u"Generating waveform... 40%"_qs);
        auto* busy = QAccessible::queryAccessibleInterface(w.find(u"Busy"_qs));
        QVERIFY(busy->role() == QAccessible::ProgressBar && busy->state().busy);
        for (const QString& name : {u"Rock & Roll <b>live<br>.mp3"_qs, QString(250, u'x')}) {
            w.showFile(name);
            QCOMPARE(w.textOf(u"Status"_qs), name);
            QCOMPARE(w.window.width(), 780);
        }
        QVERIFY(w.find(u"Open File..."_qs)->isEnabled() && !w.find(u"Progress"_qs));
        for (const Spinner* spinner : w.window.findChildren<Spinner*>())
            QVERIFY(!spinner->isTurning());
    }

    void aControlReachedByTabKeepsSpaceUntilItLetsGo() {
        Practice w;
        while (QApplication::focusWidget() != w.find(u"Fit Region"_qs))
            w.press(Qt::Key_Tab);
        w.press(Qt::Key_Space);
        QVERIFY(!w.state->isPlaying() && w.state->zoomLevel() > 1);
        w.press(Qt::Key_Escape);
        QTRY_VERIFY(w.responder->hasFocus());
        w.press(Qt::Key_Space, Qt::ControlModifier);
        QVERIFY(!w.state->isPlaying());
        w.press(Qt::Key_Space, Qt::ShiftModifier);
        QVERIFY(w.state->isPlaying());
    }

    void focusOfAControlThatGoesAwayFallsBack() {
        Practice w;
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

        QWidget other;
        focusOn(u"Open File…"_qs); // goes away while another window is active
        activate(other);
        w.showFile();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        activate(w.window);
        QTRY_VERIFY(w.responder->hasFocus());
        focusOn(u"Fit Region"_qs); // stays, but who comes back wants to play
        activate(other);
        activate(w.window);
        QTRY_VERIFY(w.responder->hasFocus());
        QLineEdit* speed = w.beginTyping(u"Speed"_qs, u"12"_qs); // or to go on typing
        activate(other);
        activate(w.window);
        w.mainQueue.async([] {});
        QCoreApplication::processEvents();
        QVERIFY(speed->hasFocus() && speed->text() == u"12"_qs);
        QTest::mouseClick(w.find(u"Waveform"_qs), Qt::LeftButton);
        QTRY_VERIFY(w.responder->hasFocus());
    }

    void opensARecentFileOnlyWhenGivenOne() {
        Window w;
        for (const QVariant& object : {QVariant(), QVariant(7), QVariant(u"file:///music/a.mp3"_qs),
                                       QVariant(QUrl(u"https://example.org/a.mp3"_qs))})
            w.notifications.post(notifications::openRecent, object);
        QVERIFY(w.state->loadingState().isIdle());
        w.notifications.post(notifications::openRecent, QUrl(u"file://localhost/b/../a.mp3"_qs));
        QCOMPARE(w.state->audioFileURL(), QUrl(u"file:///a.mp3"_qs));
    }

    void anErrorIsShownOnceAndTakesTheClicks() {
        Window w;
        for (int i = 0; i < 2; ++i) {
            w.content->loadFile(QUrl::fromLocalFile(u"/music/"_qs + QString(120, u'a')), false);
            QTRY_VERIFY(w.state->loadingState().isIdle());
        }
        const auto alerts = w.window.findChildren<QMessageBox*>();
        QCOMPARE(alerts.size(), 1);
        QVERIFY(alerts.first()->width() < 780);
        const QPoint button = w.find(u"Open File…"_qs)->mapTo(&w.window, QPoint(20, 10));
        QTest::mouseClick(w.window.windowHandle(), Qt::LeftButton, {}, button);
        QVERIFY(!w.window.findChild<OpenPanel*>());
        QTest::mouseClick(alerts.first()->button(QMessageBox::Ok), Qt::LeftButton);
        QTest::mouseClick(w.window.windowHandle(), Qt::LeftButton, {}, button);
        w.content->openFile();
        QCOMPARE(w.window.findChildren<OpenPanel*>().size(), 1);
    }

    void zoomBar() {
        struct Case {
            QString button;
            double start, end, zoom, pan, newZoom, newPan; // pans in widths of the waveform
        };
        Practice w; // of 10 s
        w.window.resize(900, 680);
        QWidget* waveform = w.find(u"Waveform"_qs);
        QTRY_VERIFY(waveform->width() > 780);
        for (const Case& c :
             {Case{u"Zoom in"_qs, 2, 3, 1, 0, 2, 0.35}, // the region's start stays in sight
              Case{u"Zoom in"_qs, 2, 3, 32, 0, 50, 9.95}, Case{u"Zoom in"_qs, 9.9, 10, 1, 0, 2, 1},
              Case{u"Zoom out"_qs, 2, 3, 25, 0, 12.5, 2.45},
              Case{u"Fit Track"_qs, 2, 3, 7, 0.3, 1, 0},
              Case{u"Fit Region"_qs, 2, 3, 1, 0, 9, 1.75},
              Case{u"Fit Region"_qs, 2, 2, 3, 0.3, 3, 0.3},
              Case{u"Fit Region"_qs, NAN, 2, 3, 0.3, 3, 0.3},
              Case{u"Pan left"_qs, 2, 3, 4, 0.8, 4, 0.3}, Case{u"Pan left"_qs, 2, 3, 4, 0.1, 4, 0},
              Case{u"Pan right"_qs, 2, 3, 4, 0.8, 4, 1.3},
              Case{u"Pan right"_qs, 2, 3, 2, 0.8, 2, 1}}) {
            w.state->setRegionStart(c.start);
            w.state->setRegionEnd(c.end);
            w.state->setZoomLevel(c.zoom);
            w.state->setPanOffset(c.pan * waveform->width());
            w.click(c.button);
            QCOMPARE(w.state->zoomLevel(), c.newZoom);
            QCOMPARE(w.state->panOffset() + 1, c.newPan * waveform->width() + 1);
        }
        w.state->setZoomLevel(6.25);
        QCOMPARE(w.textOf(u"Zoom level"_qs), u"6.2x"_qs);
        w.state->setPanOffset(5.25 * waveform->width());
        w.window.resize(780, 680); // a narrower view stays within the file
        QTRY_VERIFY(waveform->width() < 780);
        QCOMPARE(w.state->panOffset(), 5.25 * waveform->width());
    }

    void nothingIsClippedOrMovedSidewaysByALargerFont() {
        const QFont usual = QApplication::font();
        for (const double points : {10.0, 13.0, 16.0, 20.0, 24.0}) {
            QFont font = usual;
            font.setPointSizeF(points);
            QApplication::setFont(font);
            Window w;
            w.state->setEqEnabled(true);
            w.state->setLoopEnabled(true);
            w.state->setSpeedStep(3);
            w.showFile();
            const QSize smallScreen(800, 600); // where there is no room for the largest
            w.window.resize(Theme::windowSize({680, 580}, nullptr).boundedTo(smallScreen));
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // the first screen
            const auto clipped = [&w] {
                QStringList names;
                for (const QWidget* widget : w.content->widget()->findChildren<QWidget*>()) {
                    const QWidget* around = widget->parentWidget()->parentWidget();
                    if (widget->isVisible() && !qobject_cast<const QScrollArea*>(around) &&
                        !widget->parentWidget()->rect().contains(widget->geometry()))
                        names << QLatin1String(widget->metaObject()->className()) + u' ' +
                                     widget->accessibleName();
                }
                return names;
            };
            QTRY_VERIFY2(clipped().isEmpty(),
                         qPrintable(QString::number(points) + clipped().join(u'\n')));
            const auto placeOf = [&w](const QString& name) {
                return w.find<QWidget>(name)->mapTo(&w.window, QPoint());
            };
            const int pitchRight = placeOf(u"Raise pitch"_qs).x();
            w.state->setPitch(-1200);
            w.state->setSpeed(5);
            QCoreApplication::processEvents();
            QCOMPARE(placeOf(u"Raise pitch"_qs).x(), pitchRight);
            for (const auto* scroller : w.content->widget()->findChildren<QScrollArea*>())
                QVERIFY(scroller->widget()->width() <= scroller->viewport()->width());
            QVERIFY(points >= 20 ||
                    placeOf(u"Decrease speed"_qs).y() == placeOf(u"Lower pitch"_qs).y());
        }
        QApplication::setFont(usual);
    }

    void aStepOfThePlayHeadPaintsItsStripAndTheTimeAlone() {
        Window w;
        w.state->setEqEnabled(true);
        w.state->setLoopEnabled(true);
        w.showFile();
        w.state->setIsPlaying(true);
        struct Watch : QObject {
            std::function<bool(const QRect&)> isExpected;
            int expected = 0, others = 0;
            bool eventFilter(QObject* watched, QEvent* event) override {
                others += event->type() == QEvent::LayoutRequest;
                if (event->type() == QEvent::Paint && watched->isWidgetType()) {
                    auto* widget = static_cast<QWidget*>(watched);
                    const QPoint place = widget->mapTo(widget->window(), QPoint());
                    const QRect part = static_cast<QPaintEvent*>(event)->rect().translated(place);
                    ++(isExpected(part) ? expected : others);
                }
                return false;
            }
        } watch;
        watch.isExpected = [&w](const QRect& part) {
            const auto contains = [&](const QString& name) {
                const QWidget* widget = w.find(name);
                return widget->rect().translated(widget->mapTo(&w.window, QPoint())).contains(part);
            };
            return contains(u"Position"_qs) || (contains(u"Waveform"_qs) && part.width() < 16);
        };
        qApp->installEventFilter(&watch);
        const auto paintsNothingElseAt = [&](double seconds) {
            watch.expected = watch.others = 0;
            w.state->setPlaybackPosition(seconds);
            QCoreApplication::processEvents();
            return watch.expected > 0 && watch.others == 0;
        };
        QTRY_VERIFY(paintsNothingElseAt(1)); // the window has come to rest
        for (int step = 1; step <= 20; ++step)
            QVERIFY(paintsNothingElseAt(1 + step * 0.05));
    }
};

QTEST_MAIN(ContentViewWindowTest)
#include "ContentViewWindowTest.moc"
