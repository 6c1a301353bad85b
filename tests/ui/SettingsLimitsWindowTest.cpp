#include <QAccessible>
#include <QLineEdit>
#include <QTest>

#include "support/OpenSettings.h"

using namespace ambrel;
using namespace ambrel::test;
using Value = Preferences::Value;

namespace {

const QString kSize = u"Size limit"_qs;
const QString kAge = u"Age limit"_qs;
const QString kCustom = u"Custom"_qs;

} // namespace

/// What of the cache's limits is shown, and what of them is stored.
class SettingsLimitsWindowTest : public QObject {
    Q_OBJECT

    static QString keyOf(const QString& group) {
        return group == kSize ? u"waveformCacheSettings.maxSize"_qs
                              : u"waveformCacheSettings.maxAge"_qs;
    }

  private Q_SLOTS:
    void presetIsStoredAtOnce() {
        struct Case {
            QString group;
            QString preset;
            Value stored;
        };
        OpenSettings w;
        for (const Case& c :
             {Case{kSize, u"1 MB"_qs, std::int64_t(1'048'576)},
              Case{kSize, u"Unlimited"_qs, std::int64_t(0)}, Case{kAge, u"7 days"_qs, 604'800.0},
              Case{kAge, u"Indefinite"_qs, std::int64_t(0)}}) {
            const QString otherKey = keyOf(c.group == kSize ? kAge : kSize);
            const Value before = w.stored(keyOf(c.group));
            const Value other = w.stored(otherKey);
            w.choose(c.group, kCustom);
            QCOMPARE(w.stored(keyOf(c.group)), before);
            w.choose(c.group, c.preset);
            QCOMPARE(w.stored(keyOf(c.group)), c.stored);
            QCOMPARE(w.stored(otherKey), other);
            w.reopen(Qt::Key_W, Qt::ControlModifier);
            QVERIFY(w.choice(c.group, c.preset)->isChecked());
        }
    }

    void otherLimitsAreCustom() {
        struct Case {
            std::int64_t bytes;
            double seconds;
            QString size;
            QString age;
        };
        OpenSettings w;
        for (const Case& c : {Case{209'715'200, 864'000, u"200"_qs, u"10"_qs},
                              Case{104'857'601, 90'000, u"100"_qs, u"1"_qs},
                              Case{1, 604'800.5, u"0"_qs, u"7"_qs}}) {
            w.settings.waveformCache().setMaxTotalBytes(c.bytes);
            w.settings.waveformCache().setMaxAgeSeconds(c.seconds);
            w.reopen();
            QVERIFY(w.choice(kSize, kCustom)->isChecked() && w.choice(kAge, kCustom)->isChecked());
            QCOMPARE(w.control<QLineEdit>(u"Custom size"_qs)->text(), c.size);
            QCOMPARE(w.control<QLineEdit>(u"Custom age"_qs)->text(), c.age);
        }
    }

    void customNumberCountsAtReturnIfItIsOne() {
        struct Case {
            QString typed;
            std::int64_t number; // in force then
        };
        OpenSettings w;
        w.choose(kSize, kCustom);
        w.choose(kAge, kCustom);
        auto* size = w.control<QLineEdit>(u"Custom size"_qs);
        auto* age = w.control<QLineEdit>(u"Custom age"_qs);
        const auto submit = [](QLineEdit* field, const QString& text) {
            QTest::mouseClick(field, Qt::LeftButton);
            field->clear();
            QTest::keyClicks(field, text);
            QTest::keyClick(field, Qt::Key_Return);
            QCOMPARE(field->text(), text);
        };
        for (const Case& c :
             {Case{u"20"_qs, 20}, Case{u"0"_qs, 20}, Case{u"-5"_qs, 20}, Case{u"abc"_qs, 20},
              Case{u"1.5"_qs, 20}, Case{u" 30"_qs, 20}, Case{{}, 20}, Case{u"+21"_qs, 21},
              Case{u"8796093022207"_qs, 8'796'093'022'207},
              Case{u"99999999999999999999"_qs, 8'796'093'022'207}}) {
            submit(size, c.typed);
            submit(age, c.typed);
            QCOMPARE(w.stored(keyOf(kSize)), Value(c.number * 1'048'576));
            QCOMPARE(w.stored(keyOf(kAge)), Value(double(c.number) * 86'400));
        }
        QAccessible::queryAccessibleInterface(age)->valueInterface()->setCurrentValue(22);
        QCOMPARE(w.stored(keyOf(kAge)), Value(22 * 86'400.0));
        submit(size, u"8796093022208"_qs); // more bytes than 64 bits count
        QCOMPARE(w.stored(keyOf(kSize)), Value(8'796'093'022'207 * 1'048'576));

        submit(age, u"33"_qs);
        QTest::keyClicks(age, u"44"_qs); // over what was taken
        size->setFocus(Qt::TabFocusReason);
        QCOMPARE(age->text(), u"44"_qs);
        QCOMPARE(w.stored(keyOf(kAge)), Value(33 * 86'400.0));
    }
};

QTEST_MAIN(SettingsLimitsWindowTest)
#include "SettingsLimitsWindowTest.moc"
