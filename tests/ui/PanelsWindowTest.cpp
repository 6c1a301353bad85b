#include <cmath>
#include <limits>

#include <QAccessible>
#include <QCheckBox>
#include <QDialog>
#include <QMetaEnum>
#include <QPaintEvent>
#include <QPointingDevice>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <QWindow>

#include "support/Practice.h"
#include "ui/controls/Theme.h"
#include "ui/controls/VerticalSlider.h"
#include "ui/sheets/HelpTexts.h"

using namespace ambrel;
using test::Practice;

/// The panels that shape the sound, by real keys and clicks.
class PanelsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aCommittedTimeRestartsWhatPlays() {
        Practice w;
        w.state->setRegionStart(0);
        w.click(u"Start seconds up"_qs);
        QCOMPARE(w.state->regionStart(), 1.0);
        QVERIFY(w.graph->takeCalls().isEmpty());
        w.state->setIsPlaying(true);
        w.click(u"Start seconds up"_qs);
        QVERIFY(w.graph->takeCalls().contains(u"stop"_qs));
        QVERIFY(w.state->isPlaying());
        w.click(u"Start seconds up"_qs); // the end is there: nothing is left to be played
        QVERIFY(!w.state->isPlaying());
        w.click(u"Start seconds up"_qs);
        QCOMPARE(w.field(u"Start seconds"_qs)->text(), u"03"_qs);
    }

    void equaliser() {
        Practice w;
        QVERIFY(!w.control<VerticalSlider>(u"60Hz gain"_qs));
        w.click(u"Equaliser"_qs);
        QVERIFY(w.state->eqEnabled() && !w.graph->bypass);
        QTRY_VERIFY(w.control<VerticalSlider>(u"60Hz gain"_qs));

        w.state->setEqGains({2.3, 0});
        auto* slider = w.control<VerticalSlider>(u"60Hz gain"_qs);
        auto* spoken = QAccessible::queryAccessibleInterface(slider)->valueInterface();
        QCOMPARE(spoken->currentValue().toDouble(), 2.5);
        QCOMPARE(spoken->minimumStepSize().toDouble(), 0.5);
        QCOMPARE(w.textOf(u"60Hz value"_qs), u"2.5"_qs);
        QCOMPARE(w.state->eqGains().front(), 2.3);

        slider->setFocus(Qt::TabFocusReason);
        for (const auto& [key, gain] : {std::pair(Qt::Key_Up, 3.0),
                                        {Qt::Key_PageDown, 0.0},
                                        {Qt::Key_Home, -12.0},
                                        {Qt::Key_End, 12.0},
                                        {Qt::Key_Down, 11.5}}) {
            QTest::keyClick(slider, key);
            QCOMPARE(w.state->eqGains().front(), gain);
            QCOMPARE(w.graph->gains[0], float(gain));
        }
        spoken->setCurrentValue(-0.2);
        QCOMPARE(w.textOf(u"60Hz value"_qs), u"0"_qs);
        w.control<VerticalSlider>(u"12kHz gain"_qs)->moveTo(3.26);
        QCOMPARE(w.state->eqGains(), std::vector<double>({0, 0, 0, 0, 3.5}));

        // On the knob, and dragged: the grid.
        slider = w.control<VerticalSlider>(u"12kHz gain"_qs);
        const QPoint knob(
            slider->width() / 2,
            qRound(slider->height() / 2.0 - (slider->height() - Theme::length(16)) * 3.5 / 24));
        QTest::mouseClick(slider, Qt::LeftButton, {}, knob);
        QTest::mouseDClick(slider, Qt::LeftButton, {}, knob);
        QCOMPARE(w.state->eqGains().back(), 0.0);

        slider->setFocus(Qt::TabFocusReason);
        w.state->setEqEnabled(false);
        QVERIFY(w.graph->bypass);
        QTRY_VERIFY(w.responder->hasFocus());
        QTRY_VERIFY(!w.control<VerticalSlider>(u"60Hz gain"_qs));
        w.state->setEqGains({1, 1, 1, 1, 1});
        w.click(u"Reset equaliser"_qs);
        QCOMPARE(w.state->eqGains(), std::vector<double>(5));
        QVERIFY(!w.button(u"Reset equaliser"_qs)->isEnabled());
    }

    void loopDelay() {
        Practice w;
        w.state->setLoopDelayMilliseconds(250);
        QVERIFY(!w.field(u"Loop delay seconds"_qs));
        QTest::keyClick(w.window.windowHandle(), Qt::Key_L, Qt::ControlModifier);
        QVERIFY(w.control<QCheckBox>(u"Loop"_qs)->isChecked());
        QTRY_VERIFY(w.field(u"Loop delay seconds"_qs));
        QCOMPARE(w.field(u"Loop delay milliseconds"_qs)->text(), u"250"_qs);
        w.type(u"Loop delay seconds"_qs, u"1000"_qs);
        QCOMPARE(w.state->loopDelaySeconds(), 999);
        for (const std::int64_t beyond : {1500LL, std::numeric_limits<long long>::max()}) {
            w.state->setLoopDelaySeconds(beyond);
            w.click(u"Loop delay seconds down"_qs);
            QCOMPARE(w.state->loopDelaySeconds(), beyond - 1);
            w.state->setLoopDelaySeconds(beyond);
            w.click(u"Loop delay seconds up"_qs);
            QCOMPARE(w.state->loopDelaySeconds(), 999);
        }
        w.click(u"Loop"_qs);
        QVERIFY(!w.state->loopEnabled());
        QTRY_VERIFY(!w.field(u"Loop delay seconds"_qs));
        QTRY_VERIFY(w.responder->hasFocus());
    }

    void whateverIsStoredIsBorne() {
        Practice w;
        w.state->setEqEnabled(true);
        for (const double number : {1e308, -1e308, 0.0})
            for (const std::size_t gains : {0, 3, 10'000}) {
                FileSettings settings;
                settings.regionStart = number;
                settings.regionEnd = -number;
                settings.speed = settings.speedStep = settings.pitch = number;
                settings.eqGains.assign(gains, number);
                settings.loopDelaySeconds = std::numeric_limits<std::int64_t>::min();
                w.state->applySettings(settings);
                w.window.grab();
                w.click(u"Increase speed"_qs);
                w.click(u"Start seconds up"_qs);
                w.click(u"End seconds down"_qs);
                QVERIFY(std::isfinite(w.state->speed()) && std::isfinite(w.state->regionStart()));
            }
    }

    void nothingIsClippedOrMovedSideways() {
        const QFont usual = QApplication::font();
        for (const double points : {10.0, 13.0, 16.0, 20.0, 24.0}) {
            QFont font = usual;
            font.setPointSizeF(points);
            QApplication::setFont(font);
            Practice w;
            const QSize smallScreen(800, 600); // where there is no room for the largest
            w.window.resize(Theme::windowSize({680, 580}, nullptr).boundedTo(smallScreen));
            w.state->setEqEnabled(true);
            w.state->setLoopEnabled(true);
            w.state->setSpeedStep(3);
            QTRY_VERIFY(w.field(u"Loop delay seconds"_qs));
            QTRY_VERIFY(w.control<VerticalSlider>(u"12kHz gain"_qs));
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
            const int pitchRight = w.button(u"Raise pitch"_qs)->mapTo(&w.window, QPoint()).x();
            w.state->setPitch(-1200);
            w.state->setSpeed(5);
            QCoreApplication::processEvents();
            QCOMPARE(w.button(u"Raise pitch"_qs)->mapTo(&w.window, QPoint()).x(), pitchRight);
            for (const auto* scroller : w.content->widget()->findChildren<QScrollArea*>())
                QVERIFY(scroller->widget()->width() <= scroller->viewport()->width());
            QVERIFY(points >= 20 || w.field(u"Speed"_qs)->mapTo(&w.window, QPoint()).y() ==
                                        w.field(u"Pitch"_qs)->mapTo(&w.window, QPoint()).y());
        }
        QApplication::setFont(usual);
    }

    void aStepOfThePlayHeadPaintsNothingElse() {
        Practice w;
        w.state->setEqEnabled(true);
        w.state->setLoopEnabled(true);
        w.window.grab();
        const auto placeOf = [&w](const QWidget* widget, const QRect& part) {
            return part.translated(widget->mapTo(&w.window, QPoint()));
        };
        struct PaintWatch : QObject {
            std::vector<std::pair<QWidget*, QRect>> painted;
            bool eventFilter(QObject* watched, QEvent* event) override {
                if (auto* widget = qobject_cast<QWidget*>(watched);
                    widget && event->type() == QEvent::Paint)
                    painted.emplace_back(widget, static_cast<QPaintEvent*>(event)->rect());
                return false;
            }
        } watch;
        QTest::qWait(300); // the rows have slid in
        qApp->installEventFilter(&watch);
        const QWidget* waveform = w.find(u"Waveform"_qs);
        const QWidget* readOut = w.find(u"Position"_qs);
        for (int step = 1; step <= 5; ++step) {
            w.state->setPlaybackPosition(1 + step * 0.05);
            QTest::qWait(20);
        }
        QVERIFY(!watch.painted.empty());
        for (const auto& [widget, part] : watch.painted) {
            const QRect place = placeOf(widget, part);
            QVERIFY2(placeOf(readOut, readOut->rect()).contains(place) ||
                         (placeOf(waveform, waveform->rect()).contains(place) &&
                          place.width() < waveform->width() / 10),
                     widget->metaObject()->className());
        }
    }

    void helpOpensAndCloses() {
        test::TestWindow w;
        w.notifications.post(u"AMB.showHelp"_qs);
        auto* sheet = w.window.findChild<QDialog*>();
        QVERIFY(sheet && sheet->isVisible() && w.state->isShowingHelp());
        QCOMPARE(helpSections().size(), 7U);
        for (const HelpSection& section : helpSections())
            QVERIFY(w.find(section.title) && w.find(section.lines.join(u'\n')));
        QTest::keyClick(sheet->windowHandle(), Qt::Key_Escape);
        QVERIFY(!w.state->isShowingHelp());
        w.state->setIsShowingHelp(true);
        QTest::mouseClick(w.find(u"Done"_qs), Qt::LeftButton);
        QVERIFY(!w.state->isShowingHelp());
    }

    void helpScrolls() {
        test::TestWindow w;
        w.state->setIsShowingHelp(true);
        auto* sheet = w.window.findChild<QDialog*>();
        QVERIFY(QTest::qWaitForWindowActive(sheet));
        QWindow* window = sheet->windowHandle();
        QWidget* page = sheet->findChild<QScrollArea*>()->viewport();
        const QScrollBar* place = sheet->findChild<QScrollArea*>()->verticalScrollBar();
        int before = 0;
        const auto goes = [&](bool isDown) {
            const int by = place->value() - std::exchange(before, place->value());
            return isDown ? by > 0 : by < 0;
        };
        QTest::keyClick(window, Qt::Key_Space);
        QVERIFY(goes(true));
        for (QWidget* focused : std::initializer_list<QWidget*>{sheet, w.find(u"Done"_qs)}) {
            if (focused != sheet)
                QTest::keyClick(window, Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), focused);
            for (const auto& [key, isDown] : {std::pair(Qt::Key_Home, false),
                                              {Qt::Key_Down, true},
                                              {Qt::Key_PageDown, true},
                                              {Qt::Key_Up, false},
                                              {Qt::Key_PageUp, false},
                                              {Qt::Key_End, true}}) {
                QTest::keyClick(window, key);
                QVERIFY2(goes(isDown), QMetaEnum::fromType<Qt::Key>().valueToKey(key));
            }
        }
        const QPoint middle = page->rect().center();
        QWheelEvent wheel(middle, page->mapToGlobal(middle), QPoint(), QPoint(0, 120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(page, &wheel);
        QVERIFY(goes(false));

        const std::unique_ptr<QPointingDevice> finger(QTest::createTouchDevice());
        QTest::touchEvent(page, finger.get()).press(0, middle);
        for (int way = 10; way <= 100; way += 10) {
            QTest::qWait(16); // a finger takes its time
            QTest::touchEvent(page, finger.get()).move(0, middle - QPoint(0, way));
        }
        QVERIFY(goes(true));
        QTest::touchEvent(page, finger.get()).release(0, middle - QPoint(0, 100));
    }
};

QTEST_MAIN(PanelsWindowTest)
#include "PanelsWindowTest.moc"
