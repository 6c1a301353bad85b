#include "store/FileSettings.h"

#include <cmath>
#include <limits>

#include <QTest>

using namespace ambrel;

namespace {

const QByteArray kRecord =
    R"({"regionStart":12.5,"regionEnd":31.25,"speed":75,"speedStep":5,"pitch":-100,"eqEnabled":true,)"
    R"("eqGains":[3,0,0,-1.5,0],"loopEnabled":true,"loopDelaySeconds":1,"loopDelayMilliseconds":500})";

const FileSettings kSettings = {12.5, 31.25, 75, 5, -100, true, {3, 0, 0, -1.5, 0}, true, 1, 500};

/// The record with one place changed.
QByteArray with(const char* before, const QByteArray& after) {
    return QByteArray(kRecord).replace(before, after);
}

} // namespace

class FileSettingsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void encodedRecordIsCompactAndReadsBack() {
        const auto json = kSettings.encoded();
        QVERIFY(json);
        QCOMPARE(json->size(), kRecord.size()); // the order of the members is free
        QVERIFY(FileSettings::decoded(*json) == kSettings);

        FileSettings extreme = kSettings;
        extreme.regionStart = 0.1 + 0.2;
        extreme.regionEnd = std::numeric_limits<double>::max();
        extreme.speed = std::numeric_limits<double>::denorm_min();
        extreme.eqGains = {};
        extreme.loopDelaySeconds = std::numeric_limits<std::int64_t>::max();
        extreme.loopDelayMilliseconds = std::numeric_limits<std::int64_t>::min();
        QVERIFY(FileSettings::decoded(extreme.encoded().value()) == extreme);
        QVERIFY(extreme.encoded()->contains("0.30000000000000004"));
    }

    void numberThatIsNotFiniteHasNoEncoding() {
        for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
            FileSettings settings;
            settings.pitch = number;
            QVERIFY(!settings.encoded());
            settings.pitch = 0;
            settings.eqGains[4] = number;
            QVERIFY(!settings.encoded());
        }
    }

    void recordDecodesAsItStands_data() {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("isRecord");
        QTest::newRow("plain") << kRecord << true;
        QTest::newRow("white space") << with(",", " ,\n\t") << true;
        QTest::newRow("exponent") << with("75", "2.5e2") << true;
        QTest::newRow("further members") << with("{", R"({"x":{"y":[null]},)") << true;
        QTest::newRow("beyond every range") << with("75", "-1e300") << true;
        QTest::newRow("no gains") << with("3,0,0,-1.5,0", "") << true;
        QTest::newRow("many gains")
            << with("3,0", QByteArray("3,").repeated(10'000) + "3,0") << true;
        QTest::newRow("whole with a fraction of 0") << with(":500", ":500.0") << true;
        QTest::newRow("member twice") << with("{", R"({"speed":1,)") << true;

        QTest::newRow("member missing") << with(R"(,"loopDelayMilliseconds":500)", "") << false;
        QTest::newRow("name in other letters") << with("pitch", "Pitch") << false;
        QTest::newRow("text for a number") << with("75", R"("75")") << false;
        QTest::newRow("bool for a number") << with("75", "true") << false;
        QTest::newRow("null for a number") << with("75", "null") << false;
        QTest::newRow("number for a bool")
            << with(R"("eqEnabled":true)", R"("eqEnabled":1)") << false;
        QTest::newRow("gain that is a bool") << with("-1.5", "false") << false;
        QTest::newRow("gains that are a number") << with("[3,0,0,-1.5,0]", "3") << false;
        QTest::newRow("delay with a fraction") << with(":500", ":0.5") << false;
        QTest::newRow("delay beyond 64 bits") << with(":500", ":9223372036854775808") << false;
        QTest::newRow("number beyond every float") << with("75", "1e999") << false;
        QTest::newRow("cut") << kRecord.chopped(1) << false;
        QTest::newRow("more behind it") << kRecord + "x" << false;
        QTest::newRow("array") << "[" + kRecord + "]" << false;
        QTest::newRow("nothing") << QByteArray() << false;
        QTest::newRow("no text") << QByteArray("\xff\x00\xfe", 3) << false;
        QTest::newRow("deep") << QByteArray("[").repeated(1'000'000) << false;
        QTest::newRow("deep member")
            << with("{", R"({"x":)" + QByteArray("[").repeated(100'000) + ",") << false;
    }

    void recordDecodesAsItStands() {
        QFETCH(QByteArray, json);
        QFETCH(bool, isRecord);
        QCOMPARE(FileSettings::decoded(json).has_value(), isRecord);
    }

    void valuesAreTakenWithoutLimits() {
        QCOMPARE(FileSettings::decoded(with("75", "2.5e2"))->speed, 250);
        QCOMPARE(FileSettings::decoded(with("75", "-1e300"))->speed, -1e300);
        QCOMPARE(
            FileSettings::decoded(with(":500", ":-9223372036854775808"))->loopDelayMilliseconds,
            std::numeric_limits<std::int64_t>::min());
        QCOMPARE(FileSettings::decoded(with("3,0", "1,2,3,4"))->eqGains,
                 std::vector<double>({1, 2, 3, 4, 0, -1.5, 0}));
    }
};

QTEST_GUILESS_MAIN(FileSettingsTest)
#include "FileSettingsTest.moc"
