#include "platform/sound/device/NullOutput.h"

#include "support/ToneSource.h"

#include <QTest>

#include <chrono>

using namespace ambrel;

/// With no device the play head must still move, at the right speed.
class NullOutputTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void keepsTime() {
        for (const int sampleRateHz : {44'100, 192'000}) {
            ToneSource source;
            NullOutput output(sampleRateHz);
            output.open(source);
            output.start();
            QTRY_VERIFY(source.rendered() > 0);

            const auto begin = SoundClock::now();
            const std::int64_t renderedAtBegin = source.rendered();
            QTRY_VERIFY(source.rendered() - renderedAtBegin >= sampleRateHz);
            const double seconds = std::chrono::duration<double>(SoundClock::now() - begin).count();

            // Asked about every 50 ms here; a machine at full load adds as much.
            QCOMPARE_LT(std::abs(seconds - 1.1), 0.2);
            QCOMPARE(source.rates(), std::vector<int>{sampleRateHz});
            QVERIFY(source.wasAskedProperly());
        }
    }

    void heardNeverGoesBackNorAhead() {
        ToneSource source;
        NullOutput output;
        output.open(source);
        std::int64_t last = 0;
        for (int turn = 0; turn < 5; ++turn) {
            output.start();
            const QDeadlineTimer end(100);
            while (!end.hasExpired()) {
                const std::int64_t heard = output.framesHeard();
                QVERIFY(heard >= last && heard <= source.rendered());
                last = heard;
            }
            output.stop();
        }
        QTRY_COMPARE(output.framesHeard(), source.rendered());
        QVERIFY(last > 5 * 48 * 50);
        const std::int64_t rendered = source.rendered();
        QTest::qWait(100);
        QVERIFY2(source.rendered() == rendered, "it asks while it is stopped");
    }
};

QTEST_GUILESS_MAIN(NullOutputTest)
#include "NullOutputTest.moc"
