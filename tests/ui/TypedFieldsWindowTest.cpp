#include <QAccessible>
#include <QComboBox>
#include <QTest>

#include "support/Practice.h"

using namespace ambrel;
using test::Practice;

namespace {

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

/// What is typed into the fields, by real keys, where a decimal sign is a comma.
class TypedFieldsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }

    void numbersAreShownWithAPoint() {
        QCOMPARE(QLocale().toString(2.5), u"2,5"_qs);
        Practice w;
        w.state->setEqGains({-2.5, 0, 0, 0, 0});
        w.state->setEqEnabled(true);
        w.state->setZoomLevel(1.5);
        w.state->setSpeedStep(1234.5);
        w.state->setPlaybackPosition(1.25);
        QTRY_COMPARE(w.textOf(u"60Hz value"_qs), u"-2.5"_qs);
        QCOMPARE(w.textOf(u"Zoom level"_qs), u"1.5x"_qs);
        QCOMPARE(w.textOf(u"Position"_qs), u"00:01.250"_qs);
        QCOMPARE(w.field(u"Custom speed step"_qs)->text(), u"1234.5"_qs);
        QCOMPARE(w.find(u"Waveform"_qs)->accessibleDescription(),
                 u"Region 0:01.000 to 0:03.000 of 0:10.000"_qs);
    }

    void typedSpeed_data() {
        addTyped({{"relative", 100, u"+10"_qs, 110, u"110%"_qs},
                  {"relative, clamped", 100, u"-200"_qs, 5, u"5%"_qs},
                  {"percent", 100, u"75%"_qs, 75, u"75%"_qs},
                  {"blanks", 100, u"  75 "_qs, 75, u"75%"_qs},
                  {"percent after a sign", 100, u"+10%"_qs, 10, u"10%"_qs},
                  {"letters", 90, u"abc"_qs, 90, u"90%"_qs},
                  {"decimal comma", 90, u"87,5"_qs, 90, u"90%"_qs},
                  {"a point does not part thousands", 90, u"10.234"_qs, 10, u"10%"_qs},
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
                  {"decimal comma", 7, u"100,5"_qs, 7, u"+7"_qs},
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

    void theValueIsToldWhileItIsTypedOver() {
        Practice w;
        QLineEdit* speed = w.field(u"Speed"_qs);
        speed->setFocus(Qt::TabFocusReason);
        QTRY_COMPARE(speed->text(), QString());
        QCOMPARE(speed->accessibleDescription(), u"100%"_qs);
        w.state->setSpeed(90);
        QCOMPARE(speed->accessibleDescription(), u"90%"_qs);
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
        for (const char* refused : {"0", "-1", "101", "1,5", "x", ""}) {
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
};

QTEST_MAIN(TypedFieldsWindowTest)
#include "TypedFieldsWindowTest.moc"
