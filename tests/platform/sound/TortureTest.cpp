#include <QTest>

#include "support/sound/Torture.h"

using namespace ambrel::test;

/// A few of the many thousand schedules that bench/BenchTorture goes through.
class TortureTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void bearsWhateverIsDoneToIt_data() {
        QTest::addColumn<quint64>("seed");
        for (const quint64 seed : {1, 2, 3, 4})
            QTest::addRow("seed %d", int(seed)) << seed;
    }
    void bearsWhateverIsDoneToIt() {
        QFETCH(quint64, seed);
        const Torture::Result first = Torture::run(seed, 150);
        for (const std::string& fault : first.faults)
            qWarning("%s", fault.c_str());
        QVERIFY(first.faults.empty());
        // The same once more: no thread's speed has a say in a single byte.
        QCOMPARE(Torture::run(seed, 150).digests, first.digests);
    }
};

QTEST_APPLESS_MAIN(TortureTest)

#include "TortureTest.moc"
