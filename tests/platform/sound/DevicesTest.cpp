#include <QTest>

#include <algorithm>
#include <functional>

#include "support/sound/DeviceCases.h"

using namespace ambrel::test;

namespace {

std::vector<Measure> missedIn(const DeviceCase& deviceCase) {
    DeviceOrdeal ordeal(1);
    deviceCase.run(ordeal);
    std::vector<Measure> measures = ordeal.finish(Margins::busy);
    std::erase_if(measures, std::mem_fn(&Measure::isReached));
    return measures;
}

} // namespace

/// What a musician hears of a loop while sound devices come and go.
class DevicesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theLoopGoesOnAndItsSoundComesBack_data() {
        QTest::addColumn<const DeviceCase*>("deviceCase");
        for (const DeviceCase& deviceCase : deviceCases())
            QTest::newRow(deviceCase.name) << &deviceCase;
    }
    void theLoopGoesOnAndItsSoundComesBack() {
        QFETCH(const DeviceCase*, deviceCase);
        // A machine that is held up spoils a try, a fault every one.
        std::vector<Measure> missed;
        for (int attempt = 0; attempt < 3; ++attempt) {
            missed = missedIn(*deviceCase);
            if (missed.empty() || !std::ranges::all_of(missed, &Measure::isTimed))
                break;
        }
        for (const Measure& measure : missed)
            QFAIL(qPrintable(QStringLiteral("%1: %2 %3")
                                 .arg(QLatin1String(measure.what))
                                 .arg(measure.got)
                                 .arg(QLatin1String(measure.unit))));
    }
};

QTEST_GUILESS_MAIN(DevicesTest)
#include "DevicesTest.moc"
