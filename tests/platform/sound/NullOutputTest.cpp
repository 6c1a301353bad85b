#include "platform/sound/NullOutput.h"

#include "support/ToneSource.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>

using namespace ambrel;

/// With no device the play head must still move, at the right speed.
class NullOutputTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void keepsTime_data();
    void keepsTime();
    void heardNeverGoesBackNorAhead();
    void asksForNothingWhileStopped();
    void endsWhileItAsks();
};

void NullOutputTest::keepsTime_data() {
    QTest::addColumn<int>("sampleRateHz");
    QTest::newRow("48000") << 48'000;
    QTest::newRow("44100") << 44'100;
    QTest::newRow("192000") << 192'000;
}

void NullOutputTest::keepsTime() {
    QFETCH(int, sampleRateHz);
    ToneSource source;
    NullOutput output(sampleRateHz);
    output.open(source);
    output.start();
    QTRY_VERIFY(source.rendered() > 0);

    const auto begin = SoundClock::now();
    const std::int64_t heardAtBegin = output.framesHeard();
    const std::int64_t renderedAtBegin = source.rendered();
    QTRY_VERIFY(source.rendered() - renderedAtBegin >= sampleRateHz);
    const double seconds = std::chrono::duration<double>(SoundClock::now() - begin).count();
    const std::int64_t heard = output.framesHeard() - heardAtBegin;

    // Asked about every 50 ms here; a machine at full load adds as much.
    QVERIFY2(seconds > 0.9 && seconds < 1.3, qPrintable(QString::number(seconds)));
    const double heardSeconds = static_cast<double>(heard) / sampleRateHz;
    QVERIFY2(std::abs(heardSeconds - seconds) < 0.05, qPrintable(QString::number(heardSeconds)));
    QCOMPARE(source.rates(), std::vector<int>{sampleRateHz});
    QVERIFY(source.wasAskedProperly());
}

void NullOutputTest::heardNeverGoesBackNorAhead() {
    ToneSource source;
    NullOutput output;
    output.open(source);
    std::int64_t last = 0;
    for (int turn = 0; turn < 5; ++turn) {
        output.start();
        const QDeadlineTimer end(100);
        while (!end.hasExpired()) {
            const std::int64_t heard = output.framesHeard();
            QVERIFY(heard >= last);
            QVERIFY(heard <= source.rendered());
            last = heard;
        }
        output.stop();
    }
    QTRY_COMPARE(output.framesHeard(), source.rendered());
    QVERIFY(last > 5 * 48 * 50);
}

void NullOutputTest::asksForNothingWhileStopped() {
    ToneSource source;
    NullOutput output;
    output.open(source);
    output.start();
    QTRY_VERIFY(source.rendered() > 0);
    output.stop();
    QTRY_COMPARE(output.framesHeard(), source.rendered());
    const std::int64_t rendered = source.rendered();
    QTest::qWait(100);
    QCOMPARE(source.rendered(), rendered);
    output.start();
    QTRY_VERIFY(source.rendered() > rendered);
}

void NullOutputTest::endsWhileItAsks() {
    for (int turn = 0; turn < 20; ++turn) {
        ToneSource source;
        NullOutput output;
        output.open(source);
        output.start();
        QTRY_VERIFY_WITH_TIMEOUT(source.rendered() > 0, 5'000);
    }
}

QTEST_GUILESS_MAIN(NullOutputTest)
#include "NullOutputTest.moc"
