#include <cmath>
#include <limits>

#include <QDialog>
#include <QScrollArea>
#include <QScrollBar>

#include "support/TestWindow.h"
#include "ui/controls/PushButton.h"
#include "ui/controls/VerticalSlider.h"
#include "ui/look/Theme.h"

using namespace ambrel;
using test::Practice;

/// The panels that shape the sound, by real keys and clicks; the help; and how controls are drawn.
class PanelsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void equaliser() {
        Practice w;
        w.click(u"Equaliser"_qs);
        QTRY_VERIFY(w.find<VerticalSlider>(u"60Hz gain"_qs));
        w.state->setEqGains({2.3, 0}); // stored so: shown on the grid, yet kept
        auto* slider = w.find<VerticalSlider>(u"60Hz gain"_qs);
        auto* spoken = QAccessible::queryAccessibleInterface(slider)->valueInterface();
        QCOMPARE(spoken->currentValue().toDouble(), 2.5);
        QCOMPARE(w.state->eqGains().front(), 2.3);
        slider->setFocus(Qt::TabFocusReason);
        w.press(Qt::Key_Up);
        QCOMPARE(w.state->eqGains().front(), 3.0);
        QCOMPARE(w.graph->gains[0], 3.0F);
        spoken->setCurrentValue(-0.2);
        QCOMPARE(w.textOf(u"60Hz value"_qs), u"0"_qs);
        slider = w.find<VerticalSlider>(u"12kHz gain"_qs);
        slider->moveTo(3.26);
        QCOMPARE(w.state->eqGains(), std::vector<double>({0, 0, 0, 0, 3.5}));
    }

    void whateverIsStoredIsBorne() {
        Practice w;
        w.state->setEqEnabled(true);
        w.state->setLoopEnabled(true);
        for (const double number : {1e308, -1e308, 0.0})
            for (const std::size_t gains : {0, 3, 10'000}) {
                FileSettings settings;
                settings.regionStart = number;
                settings.regionEnd = -number;
                settings.speed = settings.speedStep = settings.pitch = number;
                settings.eqGains.assign(gains, number);
                settings.loopEnabled = true;
                settings.loopDelaySeconds = std::numeric_limits<std::int64_t>::max();
                settings.loopDelayMilliseconds = std::numeric_limits<std::int64_t>::min();
                w.state->applySettings(settings);
                w.window.grab();
                QTRY_VERIFY(w.find(u"Loop delay seconds up"_qs));
                for (const auto& button :
                     {u"Increase speed"_qs, u"Start seconds up"_qs, u"End seconds down"_qs,
                      u"Loop delay seconds up"_qs, u"Loop delay milliseconds down"_qs})
                    w.click(button);
                QVERIFY(std::isfinite(w.state->speed()) && std::isfinite(w.state->regionStart()));
                QCOMPARE(w.state->loopDelaySeconds(), 999);
            }
    }

    void helpScrolls() {
        test::TestWindow w;
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

    void noButtonLooksSmallerThanItIs() {
        PushButton button(QStringLiteral("Open File…"), PushButton::Prominence::prominent);
        const QImage image = button.grab().toImage();
        const QColor accent = Theme::accent(button.palette());
        for (const QPoint edge : {QPoint(image.width() / 2, 0), QPoint(0, image.height() / 2)})
            QCOMPARE(image.pixelColor(edge), accent);
    }
};

QTEST_MAIN(PanelsWindowTest)
#include "PanelsWindowTest.moc"
