#include <cmath>
#include <functional>
#include <limits>

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPaintEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>

#include "support/TestWindow.h"
#include "ui/HelpTexts.h"
#include "ui/Theme.h"
#include "ui/VerticalSlider.h"

using namespace ambrel;
using Window = test::TestWindow;

namespace {

/// The window with a file open, and its controls as a user finds them.
struct Practice : Window {
    Practice() { showFile(); }

    QLineEdit* field(const QString& name) const { return control<QLineEdit>(name); }
    QPushButton* button(const QString& name) const { return control<QPushButton>(name); }
    VerticalSlider* slider(const QString& name) const { return control<VerticalSlider>(name); }

    /// A screen reader's name may be that of a title too.
    template <typename Control> Control* control(const QString& name) const {
        for (Control* candidate : window.findChildren<Control*>())
            if (candidate->accessibleName() == name && candidate->isVisible())
                return candidate;
        return nullptr;
    }

    void click(const QString& name) const {
        QTest::mouseClick(control<QWidget>(name), Qt::LeftButton);
    }

    /// Clicks into the field and types; then Return, another control or Escape.
    void type(const QString& name, const QString& text, Qt::Key end = Qt::Key_Return) const {
        QLineEdit* where = field(name);
        QTest::mouseClick(where, Qt::LeftButton);
        QTest::keyClicks(where, text);
        if (end == Qt::Key_Tab)
            button(u"Fit Region"_qs)->setFocus(Qt::TabFocusReason);
        else
            QTest::keyClick(where, end);
    }
};

struct Typed {
    const char* name;
    double before;
    QString text;
    double after;
    QString shown;
};

void addTyped(std::initializer_list<Typed> rows) {
    QTest::addColumn<double>("before");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("after");
    QTest::addColumn<QString>("shown");
    for (const Typed& row : rows)
        QTest::newRow(row.name) << row.before << row.text << row.after << row.shown;
}

} // namespace

/// The panels that shape the sound, by real keys and clicks.
class PanelsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void typedSpeed_data() {
        addTyped({{"relative", 100, u"+10"_qs, 110, u"110%"_qs},
                  {"relative, clamped", 100, u"-200"_qs, 5, u"5%"_qs},
                  {"percent", 100, u"75%"_qs, 75, u"75%"_qs},
                  {"blanks", 100, u"  75 "_qs, 75, u"75%"_qs},
                  {"percent after a sign", 100, u"+10%"_qs, 10, u"10%"_qs},
                  {"letters", 90, u"abc"_qs, 90, u"90%"_qs},
                  {"decimal comma", 90, u"87,5"_qs, 90, u"90%"_qs},
                  {"nothing", 87.5, u""_qs, 87.5, u"87%"_qs},
                  {"too high", 100, u"400"_qs, 300, u"300%"_qs},
                  {"zero", 100, u"0"_qs, 5, u"5%"_qs},
                  {"fraction, whole in the end", 100, u"87.9"_qs, 87, u"87%"_qs},
                  {"exponent", 100, u"1.5e2"_qs, 150, u"150%"_qs},
                  {"hexadecimal", 100, u"0x50"_qs, 100, u"100%"_qs},
                  {"not a number", 100, u"nan"_qs, 300, u"300%"_qs},
                  {"infinitely less", 100, u"-inf"_qs, 5, u"5%"_qs},
                  {"many digits", 100, QString(2000, u'7'), 300, u"300%"_qs},
                  {"stored beyond the range", 450, u"x"_qs, 450, u"450%"_qs}});
    }
    void typedSpeed() {
        QFETCH(double, before);
        QFETCH(QString, text);
        Practice w;
        w.state->setSpeed(before);
        w.type(u"Speed"_qs, text);
        QTEST(w.state->speed(), "after");
        QTEST(w.field(u"Speed"_qs)->text(), "shown");
        QCOMPARE(w.graph->rate, float(w.state->speed() / 100));
        QCOMPARE(w.button(u"Reset speed"_qs)->isEnabled(), w.state->speed() != 100);
        QTRY_VERIFY(w.responder->hasFocus());
    }

    void typedPitch_data() {
        addTyped({{"absolute", 0, u"700"_qs, 700, u"+700"_qs},
                  {"clamped", 0, u"+1300"_qs, 1200, u"+1200"_qs},
                  {"negative is relative", 300, u"-50"_qs, 250, u"+250"_qs},
                  {"negative stays so after Return", 0, u"-50"_qs, -50, u"-50"_qs},
                  {"unit", 100, u"+100 cents"_qs, 100, u"+100"_qs},
                  {"sign alone", 7, u"-"_qs, 7, u"+7"_qs},
                  {"between -1 and 1", 0, u"0.9"_qs, 0, u"0"_qs}});
    }
    void typedPitch() {
        QFETCH(double, before);
        QFETCH(QString, text);
        Practice w;
        w.state->setPitch(before);
        w.type(u"Pitch"_qs, text);
        QTEST(w.state->pitch(), "after");
        QTEST(w.field(u"Pitch"_qs)->text(), "shown");
        QCOMPARE(w.graph->pitch, float(w.state->pitch()));
    }

    void leavingAField() {
        Practice w;
        w.type(u"Speed"_qs, u"50"_qs, Qt::Key_Tab);
        QCOMPARE(w.state->speed(), 50.0);
        w.type(u"Speed"_qs, u"70"_qs, Qt::Key_Escape);
        QCOMPARE(w.state->speed(), 50.0);
        QCOMPARE(w.field(u"Speed"_qs)->text(), u"50%"_qs);
        QTRY_VERIFY(w.responder->hasFocus());

        // What is being typed is left alone; the arrows step from it.
        QLineEdit* pitch = w.field(u"Pitch"_qs);
        QTest::mouseClick(pitch, Qt::LeftButton);
        QTest::keyClicks(pitch, u"30"_qs);
        w.state->setPitch(77);
        QCOMPARE(pitch->text(), u"30"_qs);
        QTest::keyClick(pitch, Qt::Key_Up);
        QCOMPARE(w.state->pitch(), 31.0);
        QCOMPARE(pitch->text(), u"+31"_qs);
        QTest::keyClick(pitch, Qt::Key_Escape);
        w.state->setPitch(-50.7);
        QCOMPARE(pitch->text(), u"-50"_qs);
    }

    void buttonsStepAndReset() {
        Practice w;
        w.state->setSpeed(298);
        w.click(u"Increase speed"_qs);
        QCOMPARE(w.state->speed(), 300.0);
        w.click(u"Decrease speed"_qs);
        QCOMPARE(w.state->speed(), 295.0);
        w.click(u"Reset speed"_qs);
        QCOMPARE(w.state->speed(), 100.0);
        w.click(u"Lower pitch"_qs);
        QCOMPARE(w.state->pitch(), -1.0);
        w.click(u"Reset pitch"_qs);
        QCOMPARE(w.graph->pitch, 0.0F);
        QVERIFY(!w.button(u"Reset pitch"_qs)->isEnabled() && w.responder->hasFocus());
    }

    void customStep() {
        Practice w;
        auto* picker = w.control<QComboBox>(u"Speed step"_qs);
        const auto choose = [picker](int place) {
            picker->setCurrentIndex(place);
            Q_EMIT picker->activated(place);
        };
        QVERIFY(!w.field(u"Custom speed step"_qs));
        w.state->setSpeedStep(3);
        QCOMPARE(picker->currentText(), u"Custom"_qs);
        for (const char* refused : {"0", "-1", "101", "x", ""}) {
            w.type(u"Custom speed step"_qs, QLatin1String(refused));
            QCOMPARE(w.state->speedStep(), 3.0);
            QCOMPARE(w.field(u"Custom speed step"_qs)->text(), u"3.0"_qs);
        }
        w.type(u"Custom speed step"_qs, u"7.25"_qs);
        QCOMPARE(w.state->speedStep(), 7.25);
        w.type(u"Custom speed step"_qs, u"2"_qs);
        QCOMPARE(picker->currentText(), u"2%"_qs);
        QVERIFY(!w.field(u"Custom speed step"_qs));
        QTRY_VERIFY(w.responder->hasFocus());

        // "Custom" while the step is a preset writes nothing before a step is typed.
        choose(5);
        QCOMPARE(w.field(u"Custom speed step"_qs)->selectedText(), u"2.0"_qs);
        QCOMPARE(w.state->speedStep(), 2.0);
        w.button(u"Fit Region"_qs)->setFocus(Qt::TabFocusReason);
        QVERIFY(w.field(u"Custom speed step"_qs));
        choose(4);
        QCOMPARE(w.state->speedStep(), 25.0);
        QVERIFY(!w.field(u"Custom speed step"_qs));
        auto* spoken = QAccessible::queryAccessibleInterface(picker);
        QCOMPARE(spoken->text(QAccessible::Name), u"Speed step"_qs);
        QCOMPARE(spoken->text(QAccessible::Value), u"25%"_qs);
    }

    void typedTimes_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("end");
        QTest::addColumn<QString>("shown");
        // The region is from 1.5004 s to 3 s of 10.
        const auto row = [](const char* name, const char* field, const char* text, double start,
                            double end, const char* shown) {
            QTest::newRow(name) << QString::fromLatin1(field) << QString::fromLatin1(text) << start
                                << end << QString::fromLatin1(shown);
        };
        row("seconds", "Start seconds", "2", 2.5, 3, "02");
        row("after the end", "Start seconds", "75", 3, 3, "03");
        row("beyond the file", "End minutes", "1234", 1.5004, 10, "000");
        row("before the start", "End seconds", "-5", 1.5004, 1.5004, "01");
        row("milliseconds", "End milliseconds", "7", 1.5004, 3.007, "007");
        row("no whole number", "Start seconds", "1.5", 1.5004, 3, "01");
        row("letters", "Start milliseconds", "ab", 1.5004, 3, "500");
        row("beyond 64 bits", "Start seconds", "99999999999999999999", 1.5004, 3, "01");
    }
    void typedTimes() {
        QFETCH(QString, field);
        QFETCH(QString, text);
        Practice w;
        w.state->setRegionStart(1.5004);
        w.type(field, text);
        QTEST(w.state->regionStart(), "start");
        QTEST(w.state->regionEnd(), "end");
        QTEST(w.field(field)->text(), "shown");
        QVERIFY(w.field(field)->hasFocus());
        QCOMPARE(w.field(field)->selectedText(), w.field(field)->text());
    }

    void aCommittedTimeRestartsWhatPlays() {
        Practice w;
        w.state->setRegionStart(1);
        w.graph->takeCalls();
        w.click(u"Start seconds up"_qs);
        QCOMPARE(w.state->regionStart(), 2.0);
        QVERIFY(w.graph->takeCalls().isEmpty());
        w.state->setIsPlaying(true);
        w.click(u"Start seconds up"_qs);
        QVERIFY(w.graph->takeCalls().contains(u"stop"_qs));
        QVERIFY(w.state->isPlaying());
        w.click(u"Start seconds up"_qs); // the end is there
        QCOMPARE(w.field(u"Start seconds"_qs)->text(), u"03"_qs);
    }

    void equaliser() {
        Practice w;
        QVERIFY(!w.slider(u"60Hz gain"_qs));
        w.click(u"Equaliser"_qs);
        QVERIFY(w.state->eqEnabled() && !w.graph->bypass);
        QTRY_VERIFY(w.slider(u"60Hz gain"_qs));

        w.state->setEqGains({2.3, 0});
        auto* slider = w.slider(u"60Hz gain"_qs);
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
        w.slider(u"12kHz gain"_qs)->moveTo(3.26);
        QCOMPARE(w.state->eqGains(), std::vector<double>({0, 0, 0, 0, 3.5}));

        // On the knob, and dragged: the grid.
        slider = w.slider(u"12kHz gain"_qs);
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
        QTRY_VERIFY(!w.slider(u"60Hz gain"_qs));
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
        for (const double points : {10.0, 14.0}) {
            QFont font = usual;
            font.setPointSizeF(points);
            QApplication::setFont(font);
            Practice w;
            w.window.resize(680, 580);
            w.state->setEqEnabled(true);
            w.state->setLoopEnabled(true);
            w.state->setSpeedStep(3);
            QTRY_VERIFY(w.field(u"Loop delay seconds"_qs));
            QTRY_VERIFY(w.slider(u"12kHz gain"_qs));
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // the first screen
            QWidget* column = w.window.findChild<QScrollArea*>()->widget();
            QVERIFY(column->width() <= w.window.width());
            const auto clipped = [column] {
                QStringList names;
                for (const QWidget* widget : column->findChildren<QWidget*>()) {
                    if (widget->isVisible() && !widget->visibleRegion().isEmpty() &&
                        !widget->parentWidget()->rect().contains(widget->geometry()))
                        names << QLatin1String(widget->metaObject()->className()) + u' ' +
                                     widget->accessibleName();
                }
                return names;
            };
            QTRY_COMPARE(clipped(), QStringList());
            const int pitchRight = w.button(u"Raise pitch"_qs)->mapTo(&w.window, QPoint()).x();
            w.state->setPitch(-1200);
            w.state->setSpeed(5);
            QCoreApplication::processEvents();
            QCOMPARE(w.button(u"Raise pitch"_qs)->mapTo(&w.window, QPoint()).x(), pitchRight);
            QCOMPARE(w.field(u"Speed"_qs)->mapTo(&w.window, QPoint()).y(),
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

    void helpOpensScrollsAndCloses() {
        Window w;
        w.notifications.post(u"AMB.showHelp"_qs);
        auto* sheet = w.window.findChild<QDialog*>();
        QVERIFY(sheet && sheet->isVisible() && w.state->isShowingHelp());
        QCOMPARE(helpSections().size(), 7U);
        for (const HelpSection& section : helpSections())
            QVERIFY(w.find(section.title) && w.find(section.lines.join(u'\n')));
        QTest::keyClick(sheet, Qt::Key_Escape);
        QVERIFY(!w.state->isShowingHelp());
        w.state->setIsShowingHelp(true);
        QTest::mouseClick(w.find(u"Done"_qs), Qt::LeftButton);
        QVERIFY(!w.state->isShowingHelp());
    }
};

QTEST_MAIN(PanelsWindowTest)
#include "PanelsWindowTest.moc"
