#include "platform/sound/device/DeviceOutput.h"

#include "support/ToneSource.h"

#include <QElapsedTimer>
#include <QTest>

using namespace ambrel;

/// Without any sound server: the practice goes on, by the clock that stands in. What becomes of the
/// sound when servers and sinks come and go, bench/BenchDevices measures.
class DeviceOutputTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { qputenv("PULSE_SERVER", "unix:/nowhere"); }

    void playsByTheClockAndStops() {
        ToneSource source;
        DeviceOutput output;
        output.open(source);
        for (int turn = 0; turn < 2; ++turn) {
            std::int64_t rendered = source.rendered();
            output.start();
            QTRY_VERIFY(source.rendered() > rendered);
            rendered = source.rendered();
            const auto begin = SoundClock::now();
            std::int64_t last = output.framesHeard();
            while (SoundClock::now() < begin + std::chrono::seconds(1)) {
                const std::int64_t heard = output.framesHeard();
                QVERIFY(heard >= last && heard <= source.rendered());
                last = heard;
            }
            const double seconds = std::chrono::duration<double>(SoundClock::now() - begin).count();
            const double rateHz = source.rates().back();
            QCOMPARE_LT(std::abs(double(source.rendered() - rendered) / rateHz - seconds), 0.4);
            output.stop();
            QTRY_COMPARE(output.framesHeard(), source.rendered());
        }
        QVERIFY(source.wasAskedProperly());
    }

    void endsWhileItPlays() {
        ToneSource source;
        auto output = std::make_unique<DeviceOutput>();
        output->open(source);
        output->start();
        QTRY_VERIFY(source.rendered() > 0);
        QElapsedTimer timer;
        timer.start();
        output.reset();
        QCOMPARE_LT(timer.elapsed(), 800);
    }
};

QTEST_GUILESS_MAIN(DeviceOutputTest)
#include "DeviceOutputTest.moc"
