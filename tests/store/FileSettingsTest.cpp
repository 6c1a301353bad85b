#include "store/FileSettings.h"

#include <cfloat>
#include <cmath>

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
    void recordsReadBackToTheLastDigit() {
        QCOMPARE(kSettings.encoded()->size(), kRecord.size()); // the order of the members is free
        QCOMPARE(FileSettings::decoded(kRecord), kSettings);
        const FileSettings extreme{0.1 + 0.2, DBL_MAX, 5e-324, 0,         0,
                                   false,     {},      false,  INT64_MAX, INT64_MIN};
        QCOMPARE(FileSettings::decoded(extreme.encoded().value()), extreme);
        for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL})
            for (const auto& settings :
                 {FileSettings{.pitch = number}, FileSettings{.eqGains = {0, number}}})
                QVERIFY(!settings.encoded());
    }

    void whatIsNoRecordIsRefused() {
        const QByteArray brackets = QByteArray("[").repeated(100'000);
        for (const auto& [json, isRecord] : {
                 std::pair(with("{", R"({"x":{"y":[null]},)"), true), // further members
                 {with("75", "-1e300"), true},
                 {with(":500", ":500.0"), true},
                 {with(R"(,"loopDelayMilliseconds":500)", ""), false},
                 {with("75", R"("75")"), false},
                 {with("75", "1e999"), false},
                 {with(":500", ":9223372036854775808"), false},
                 {QByteArray("\xff\x00\xfe", 3), false},
                 {brackets, false}, // deep enough for a parser that recurses to run out of stack
                 {with("{", R"({"x":)" + brackets + ","), false},
             })
            QVERIFY2(FileSettings::decoded(json).has_value() == isRecord, json.left(300).data());
    }
};

QTEST_GUILESS_MAIN(FileSettingsTest)
#include "FileSettingsTest.moc"
