#include <QTest>

#include "app/TimeText.h"
#include "support/TestWindow.h"

using namespace ambrel;
using test::Practice;

namespace {

struct Typed {
    const char* field;
    double before;
    QString text;
    double after;
    const char* shown;
};

} // namespace

/// What is typed into the fields, by real keys, where a decimal sign is a comma.
class TypedFieldsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }

    void typed_data() {
        QTest::addColumn<Typed>("typed");
        for (const Typed& typed : std::initializer_list<Typed>{
                 {"Speed", 100, u"+10"_qs, 110, "110%"},
                 {"Speed", 100, u"  75% "_qs, 75, "75%"},
                 {"Speed", 100, u"+10%"_qs, 10, "10%"}, // no more relative
                 {"Speed", 90, u"87,5"_qs, 90, "90%"},
                 {"Speed", 90, u"10.234"_qs, 10, "10%"}, // thousands are not parted
                 {"Speed", 87.5, u""_qs, 87.5, "87%"},
                 {"Speed", 100, u"1.5e2"_qs, 150, "150%"},
                 {"Speed", 100, u"0x50"_qs, 100, "100%"},
                 {"Speed", 100, u"nan"_qs, 300, "300%"},
                 {"Speed", 100, u"-inf"_qs, 5, "5%"},
                 {"Speed", 100, QString(2000, u'7'), 300, "300%"},
                 {"Speed", 450, u"x"_qs, 450, "450%"}, // as stored
                 {"Pitch", 0, u"+1300"_qs, 1200, "+1200"},
                 {"Pitch", 300, u"-50"_qs, 250, "+250"}, // relative
                 {"Pitch", 100, u"+100 cents"_qs, 100, "+100"},
                 {"Pitch", 7, u"-"_qs, 7, "+7"},
                 {"Pitch", 0, u"0.9"_qs, 0, "0"},
                 {"Custom speed step", 0, u"0"_qs, 3, "3.0"},
                 {"Custom speed step", 0, u"101"_qs, 3, "3.0"},
                 {"Custom speed step", 0, u"x"_qs, 3, "3.0"},
                 {"Custom speed step", 0, u"1.25"_qs, 1.25, "1.25"},
                 {"Start seconds", 0, u"2"_qs, 2.5, "02"},
                 {"Start seconds", 0, u"75"_qs, 3, "03"}, // not beyond the end
                 {"Start seconds", 0, u"1.5"_qs, 1.5004, "01"},
                 {"Start seconds", 0, u"99999999999999999999"_qs, 1.5004, "01"},
                 {"Start milliseconds", 0, u"1"_qs, 1.001, "001"},
                 {"End minutes", 0, u"1234"_qs, 10, "000"},
                 {"End seconds", 0, u"-5"_qs, 1.5004, "01"}}) // not before the start
            QTest::addRow("%s %g: %.9s", typed.field, typed.before, qPrintable(typed.text))
                << typed;
    }
    void typed() {
        QFETCH(Typed, typed);
        Practice w;
        const QString name = QLatin1String(typed.field);
        w.state->setSpeed(typed.before);
        w.state->setPitch(typed.before);
        w.state->setSpeedStep(3);
        w.state->setRegionStart(1.5004);
        w.type(name, typed.text);
        const QString kind = name.section(u' ', 0, 0);
        QCOMPARE(kind == u"Speed"_qs   ? w.state->speed()
                 : kind == u"Pitch"_qs ? w.state->pitch()
                 : kind == u"Start"_qs ? w.state->regionStart()
                 : kind == u"End"_qs   ? w.state->regionEnd()
                                       : w.state->speedStep(),
                 typed.after);
        QCOMPARE(w.field(name)->text(), QLatin1String(typed.shown));
        if (kind == u"Start"_qs || kind == u"End"_qs) { // the next number replaces this one
            QVERIFY(w.field(name)->hasFocus());
            QCOMPARE(w.field(name)->selectedText(), w.field(name)->text());
            return;
        }
        QCOMPARE(w.graph->rate, kind == u"Speed"_qs ? float(typed.after / 100) : 0);
        QCOMPARE(w.graph->pitch, kind == u"Pitch"_qs ? float(typed.after) : 0);
        QTRY_VERIFY(w.responder->hasFocus());
    }

    void escapeAndOtherChangesLeaveWhatWasThere() {
        Practice w;
        w.type(u"Speed"_qs, u"70"_qs, Qt::Key_Escape);
        QCOMPARE(w.state->speed(), 100.0);
        QCOMPARE(w.field(u"Speed"_qs)->text(), u"100%"_qs);

        // What is being typed is left alone; the arrows step from it.
        QLineEdit* pitch = w.beginTyping(u"Pitch"_qs, u"30"_qs);
        w.state->setPitch(77);
        QCOMPARE(pitch->text(), u"30"_qs);
        QTest::keyClick(pitch, Qt::Key_Up);
        QCOMPARE(w.state->pitch(), 31.0);
        QCOMPARE(pitch->text(), u"+31"_qs);
        QTest::keyClick(pitch, Qt::Key_Escape);
        w.state->setPitch(-50.7);
        QCOMPARE(pitch->text(), u"-50"_qs);
    }

    void aStepIsShownAndCountedFrom() {
        Practice w;
        w.state->setSpeedStep(2.5);
        QLineEdit* speed = w.beginTyping(u"Speed"_qs, {});
        QTest::keyClick(speed, Qt::Key_Up);
        QTest::keyClick(speed, Qt::Key_Up);
        QTest::keyClicks(speed, u"+10"_qs);
        QTest::keyClick(speed, Qt::Key_Up);
        w.find(u"Fit Region"_qs)->setFocus(Qt::TabFocusReason);
        QCOMPARE(w.state->speed(), 117.5);

        QLineEdit* seconds = w.beginTyping(u"Start seconds"_qs, u"3"_qs);
        w.click(u"Start seconds up"_qs);
        QCOMPARE(seconds->text(), u"02"_qs);
        QTest::keyClick(seconds, Qt::Key_Return);
        QCOMPARE(w.state->regionStart(), 2.0);
    }

    void whatIsTypedIsCommittedBeforeItsFieldOrItsFileGoes() {
        Practice w;
        const QUrl song = *w.state->audioFileURL();
        w.state->setLoopEnabled(true);
        QTRY_VERIFY(w.field(u"Loop delay seconds"_qs));
        w.beginTyping(u"Loop delay seconds"_qs, u"70"_qs);
        QWidget other;
        test::activate(other);
        w.state->setLoopEnabled(false);
        QCOMPARE(w.state->loopDelaySeconds(), 70);

        test::activate(w.window);
        w.beginTyping(u"Speed"_qs, u"70"_qs);
        w.content->loadFile(QUrl::fromLocalFile(u"/music/next.wav"_qs), false);
        QCOMPARE(w.settings.store().load(song)->speed, 70.0);
    }

    /// In the settings window; a limit that is no preset is shown rounded down.
    void aCustomLimitIsTakenAtReturnIfItIsANumber() {
        Practice w;
        w.settings.waveformCache().setMaxTotalBytes(104'857'601);
        QTest::keyClick(w.window.windowHandle(), Qt::Key_Comma, Qt::ControlModifier);
        auto* size = test::findIn<QLineEdit>(*QApplication::activeWindow(), u"Custom size"_qs);
        QCOMPARE(size->text(), u"100"_qs);
        const std::int64_t largest = 8'796'093'022'207; // in bytes the last that 64 bits hold
        for (const auto& [typed, megabytes] : {std::pair(u"20"_qs, std::int64_t(20)),
                                               {u"0"_qs, 20},
                                               {u"-5"_qs, 20},
                                               {u"1.5"_qs, 20},
                                               {u" 30"_qs, 20},
                                               {u"+21"_qs, 21},
                                               {u"8796093022207"_qs, largest},
                                               {u"8796093022208"_qs, largest},
                                               {u"99999999999999999999"_qs, largest}}) {
            size->selectAll();
            QTest::keyClicks(size, typed);
            QTest::keyClick(size, Qt::Key_Return);
            QCOMPARE(w.settings.waveformCache().maxTotalBytes(), megabytes * 1'048'576);
        }
        QTest::keyClicks(size, u"44"_qs);
        QTest::keyClick(size, Qt::Key_Tab); // without Return
        QCOMPARE(w.settings.waveformCache().maxTotalBytes(), largest * 1'048'576);
    }

    void everyTypedTimeReadsBack() {
        for (std::int64_t time = 0; time < 60'000'000; time += time < 60'000 ? 1 : 997) {
            QCOMPARE(wholeMilliseconds(secondsOf(time)), time);
            QVERIFY(secondsOf(time) - double(time) / 1000 < 1e-11);
        }
        QCOMPARE(timeText(1.9999, 2), u"00:01.999"_qs);
        QCOMPARE(timeText(59999.999, 2), u"999:59.999"_qs);
    }
};

QTEST_MAIN(TypedFieldsWindowTest)
#include "TypedFieldsWindowTest.moc"
