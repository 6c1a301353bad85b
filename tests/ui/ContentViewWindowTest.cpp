#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <QDialog>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>

#include "support/MediaMaker.h"
#include "support/TestWindow.h"
#include "ui/look/Theme.h"

using namespace ambrel;
using test::activate;
using test::Practice;
using Field = AppState::Field;
using Window = test::TestWindow;

/// The main window on a scripted sound graph, driven by events as a user would.
class ContentViewWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aControlReachedByTabKeepsSpaceUntilItLetsGo() {
        Practice w;
        while (QApplication::focusWidget() != w.find(u"Fit Region"_qs))
            w.press(Qt::Key_Tab);
        w.press(Qt::Key_Space);
        QVERIFY(!w.state->isPlaying() && w.state->zoomLevel() > 1);
        w.press(Qt::Key_Escape);
        QVERIFY2(w.responder->hasFocus(), "at once, for the next key");
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

    void anEmptyBoxIsSeenOnAnyPalette() {
        const QPalette usual = QApplication::palette();
        for (const QColor& colour : {QColor(Qt::lightGray), QColor(36, 36, 38)}) {
            QApplication::setPalette(QPalette(colour));
            Practice w;
            const QImage box = w.find(u"Equaliser"_qs)->grab().toImage();
            int darkest = 255, lightest = 0;
            for (int pixel = 0; pixel < box.width() * box.height(); ++pixel) {
                const int grey = qGray(box.pixel(pixel % box.width(), pixel / box.width()));
                darkest = std::min(darkest, grey);
                lightest = std::max(lightest, grey);
            }
            QCOMPARE_GT(lightest - darkest, 80);
        }
        QApplication::setPalette(usual);
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

    void aKeyActsWhateverHasTheFocusAndSwitchesOnce() {
        Practice w;
        QWidget other;
        const auto changesBy = [&](Qt::Key key, Field field) {
            int changes = 0;
            const auto counting =
                connect(w.state.get(), &AppState::changed, this,
                        [&](Field changed) { changes += changed == field ? 1 : 0; });
            QWindow* active = QApplication::activeWindow()->windowHandle();
            QTest::keyClick(active, key, Qt::ControlModifier);
            QKeyEvent held(QEvent::KeyPress, key, Qt::ControlModifier, {}, true);
            QCoreApplication::sendEvent(active, &held);
            disconnect(counting);
            return changes;
        };
        w.beginTyping(u"Start seconds"_qs, u"12"_qs);
        for (QWidget* window : {static_cast<QWidget*>(&w.window), &other}) {
            activate(*window);
            w.state->setPlaybackPosition(2);
            QCOMPARE(changesBy(Qt::Key_R, Field::playbackPosition), 1);
            QCOMPARE(changesBy(Qt::Key_L, Field::loopEnabled), 1);
            QCOMPARE(changesBy(Qt::Key_Right, Field::speed), 2);
            QCOMPARE(changesBy(Qt::Key_Down, Field::pitch), 2);
        }
        QCOMPARE(w.field(u"Start seconds"_qs)->text(), u"12"_qs);
    }

    void whateverIsStoredIsBorne() {
        Practice w;
        std::mt19937 random(1);
        const auto any = [&](const auto& values) { return values[random() % std::size(values)]; };
        const auto number = [&] {
            return any(std::to_array({1e308, -1e308, 0.0, -0.0, 5e-324, -3.0, 2.5, 9.99, 1e19}));
        };
        const auto whole = [&] {
            using Limits = std::numeric_limits<std::int64_t>;
            return any(std::to_array<std::int64_t>({Limits::max(), Limits::min(), 0, 998, -1}));
        };
        for (int record = 0; record < 200; ++record) {
            FileSettings settings{number(), number(), number(), number(), number(),
                                  true,     {},       true,     whole(),  whole()};
            settings.eqGains.resize(any(std::to_array<std::size_t>({0, 3, 5, 10'000})));
            std::ranges::generate(settings.eqGains, number);
            w.state->applySettings(settings);
            w.window.grab();
            QTRY_VERIFY(w.find(u"Loop delay seconds up"_qs));
            for (const auto& button :
                 {u"Increase speed"_qs, u"Raise pitch"_qs, u"Start seconds up"_qs,
                  u"End seconds down"_qs, u"Loop delay seconds up"_qs,
                  u"Loop delay milliseconds down"_qs})
                w.click(button);
            w.press(Qt::Key_Space);
            const auto saved = w.state->currentSettings();
            QVERIFY(saved.loopDelaySeconds <= 999);
            w.state->saveSettings();
            QCOMPARE(w.settings.store().load(*w.state->audioFileURL()), saved);
        }
    }

    void whatIsDroppedOpensWhileNothingIsAsked() {
        const test::MediaMaker media;
        const auto file = [&](const QString& name) {
            return QUrl::fromLocalFile(QString::fromStdString(media.path(name.toStdString())));
        };
        for (const char* name : {"a.wav", "b.wav"})
            media.wav(name, test::MediaMaker::phrase(0.1));
        media.write("notes.mp3", "no sound");
        QMimeData files, wrong, address, number;
        files.setUrls({file(u"notes.mp3"_qs), file(u"a.wav"_qs), file(u"b.wav"_qs)});
        wrong.setUrls({file(u"gone.mp3"_qs), QUrl::fromLocalFile(u"/"_qs)});
        address.setText(u" https://example.org/a%20b?c=d\n"_qs);
        number.setText(u"12"_qs);
        for (const auto& [data, opened, shown] :
             {std::tuple(&files, u"a.wav"_qs, QString()),
              {&wrong, u"song.wav"_qs,
               u"“gone.mp3” could not be opened: there is no such file."_qs},
              {&address, u"song.wav"_qs, u"https://example.org/a%20b?c=d"_qs},
              {&number, u"song.wav"_qs, QString()}}) {
            Practice w;
            w.graph->addFile(file(u"a.wav"_qs), 10);
            const QWidget* seconds = w.field(u"Start seconds"_qs);
            const QPoint place = seconds->mapTo(&w.window, seconds->rect().center());
            const auto isTaken = [&, data = data](auto&& drag) {
                QCoreApplication::sendEvent(w.window.windowHandle(), &drag);
                return drag.isAccepted();
            };
            const auto drop = [&, data = data] {
                return isTaken(QDragEnterEvent(place, Qt::CopyAction, data, {}, {})) &&
                       isTaken(QDropEvent(place, Qt::CopyAction, data, {}, {}));
            };
            QCOMPARE(drop(), data != &number);
            const bool asks = !shown.isEmpty();
            QTRY_COMPARE(w.state->audioFileURL()->fileName(), opened);
            QTRY_VERIFY(w.state->loadingState().isLoaded());
            QTRY_COMPARE(w.window.findChild<QDialog*>() != nullptr, asks);
            if (!asks)
                continue;
            const auto* sheet = w.window.findChild<QDialog*>();
            const auto* field = sheet->findChild<QLineEdit*>();
            QVERIFY(field ? field->text() == shown : test::findIn(*sheet, shown) != nullptr);
            QVERIFY(!drop());
        }
    }

    void helpScrolls() {
        Window w;
        w.state->setIsShowingHelp(true);
        auto* sheet = w.window.findChild<QDialog*>();
        QVERIFY(QTest::qWaitForWindowActive(sheet));
        const QScrollBar* place = sheet->findChild<QScrollArea*>()->verticalScrollBar();
        int before = 0;
        const auto way = [&] { return place->value() - std::exchange(before, place->value()); };
        QTest::keyClick(sheet->windowHandle(), Qt::Key_Space);
        QVERIFY(way() > 0);
        w.find(u"Done"_qs)->setFocus(Qt::TabFocusReason);
        for (const auto& [key, direction] : {std::pair(Qt::Key_Home, -1),
                                             {Qt::Key_Down, 1},
                                             {Qt::Key_PageDown, 1},
                                             {Qt::Key_Up, -1},
                                             {Qt::Key_End, 1},
                                             {Qt::Key_PageUp, -1}}) {
            QTest::keyClick(sheet->windowHandle(), key);
            QVERIFY2(way() * direction > 0, qPrintable(QKeySequence(key).toString()));
        }
    }
};

QTEST_MAIN(ContentViewWindowTest)
#include "ContentViewWindowTest.moc"
