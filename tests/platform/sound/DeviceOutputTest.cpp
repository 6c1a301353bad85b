#include "platform/sound/DeviceOutput.h"

#include "support/PrivateSoundServer.h"
#include "support/ToneSource.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <memory>
#include <numbers>

using namespace ambrel;
using namespace std::chrono_literals;

namespace {

/// Half of the tone's level: on a busy machine the server itself leaves gaps.
constexpr double clearlyHeard = 0.5 * ToneSource::amplitude / std::numbers::sqrt2;

} // namespace

/// A musician pulls the headphones, restarts the sound server or has none: the practice goes on,
/// and its sound comes back by itself.
class DeviceOutputTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void isHeard();
    void countsWhatIsHeard();
    void stopsAndStartsAgain();
    void goesOnWithoutAServer();
    void goesOnWhenTheServerDies();
    void goesOnWhenTheServerHangs();
    void goesOnWhenTheOnlySinkGoes();
    void followsTheDefaultSink();
    void takesTheRateOfANewDevice();
    void endsInTime_data();
    void endsInTime();

  private:
    void play();
    void verifyPlaysInRealTime();
    void verifySoundReturns();

    std::unique_ptr<PrivateSoundServer> server_;
    std::unique_ptr<ToneSource> source_;
    std::unique_ptr<DeviceOutput> output_;
};

void DeviceOutputTest::init() {
    server_ = std::make_unique<PrivateSoundServer>();
    source_ = std::make_unique<ToneSource>();
    output_ = std::make_unique<DeviceOutput>();
}

void DeviceOutputTest::cleanup() {
    output_.reset();
    QVERIFY(source_->wasAskedProperly());
    server_.reset();
}

void DeviceOutputTest::play() {
    output_->open(*source_);
    output_->start();
    QTRY_VERIFY(source_->rendered() > 0);
}

void DeviceOutputTest::verifyPlaysInRealTime() {
    // The change of clocks costs 0.1 s, a busy machine as much again.
    const auto begin = SoundClock::now();
    const std::int64_t rendered = source_->rendered();
    const std::int64_t heard = output_->framesHeard();
    QTest::qWait(1'000);
    const double seconds = std::chrono::duration<double>(SoundClock::now() - begin).count();
    const double rate = source_->rates().back();
    const double renderedSeconds = static_cast<double>(source_->rendered() - rendered) / rate;
    const double heardSeconds = static_cast<double>(output_->framesHeard() - heard) / rate;
    QVERIFY2(std::abs(renderedSeconds - seconds) < 0.4,
             qPrintable(QString::number(renderedSeconds)));
    QVERIFY2(std::abs(heardSeconds - seconds) < 0.4, qPrintable(QString::number(heardSeconds)));
}

void DeviceOutputTest::verifySoundReturns() {
    SinkRecorder recorder;
    QTRY_VERIFY(level(recorder.record(100ms)) > clearlyHeard);
}

void DeviceOutputTest::isHeard() {
    server_->start();
    SinkRecorder recorder;
    play();
    QTRY_VERIFY(level(recorder.record(100ms)) > clearlyHeard);
    output_->stop();
    QTRY_COMPARE(level(recorder.record(100ms)), 0.0);
    QCOMPARE(source_->rates(), std::vector<int>{48'000});
}

void DeviceOutputTest::countsWhatIsHeard() {
    server_->start();
    play();
    std::int64_t last = 0;
    const QDeadlineTimer end(1'000);
    while (!end.hasExpired()) {
        const std::int64_t heard = output_->framesHeard();
        QVERIFY(heard >= last);
        QVERIFY(heard <= source_->rendered());
        last = heard;
    }
    verifyPlaysInRealTime();
    output_->stop();
    QTRY_COMPARE(output_->framesHeard(), source_->rendered());
}

void DeviceOutputTest::stopsAndStartsAgain() {
    server_->start();
    output_->open(*source_);
    // At once, while the stream still runs, and after it has been closed.
    for (const int pauseMilliseconds : {0, 100, 4'000}) {
        QTest::qWait(pauseMilliseconds);
        const std::int64_t rendered = source_->rendered();
        QElapsedTimer timer;
        output_->start();
        timer.start();
        while (source_->rendered() == rendered && !timer.hasExpired(5'000)) {
        }
        // 1 to 20 ms on an idle machine.
        QVERIFY2(timer.elapsed() < 250, qPrintable(QString::number(timer.elapsed())));
        output_->stop();
        QTRY_COMPARE(output_->framesHeard(), source_->rendered());
    }
}

void DeviceOutputTest::goesOnWithoutAServer() {
    play();
    verifyPlaysInRealTime();
    server_->start();
    verifySoundReturns();
}

void DeviceOutputTest::goesOnWhenTheServerDies() {
    server_->start();
    play();
    verifySoundReturns();
    for (int turn = 0; turn < 2; ++turn) {
        server_->kill();
        verifyPlaysInRealTime();
        server_->start();
        verifySoundReturns();
    }
    output_->stop();
    QTRY_COMPARE(output_->framesHeard(), source_->rendered());
}

void DeviceOutputTest::goesOnWhenTheServerHangs() {
    server_->start();
    play();
    server_->hang();
    verifyPlaysInRealTime();
    server_->goOn();
    verifySoundReturns();
}

void DeviceOutputTest::goesOnWhenTheOnlySinkGoes() {
    server_->start();
    play();
    server_->remove(QStringLiteral("module-null-sink"));
    verifyPlaysInRealTime();
    server_->addSink(QStringLiteral("one"));
    verifySoundReturns();
}

void DeviceOutputTest::followsTheDefaultSink() {
    server_->start();
    play();
    server_->addSink(QStringLiteral("two"));
    server_->control({QStringLiteral("set-default-sink"), QStringLiteral("two")});
    SinkRecorder recorder(QStringLiteral("two"));
    QTRY_VERIFY(level(recorder.record(100ms)) > clearlyHeard);
}

void DeviceOutputTest::takesTheRateOfANewDevice() {
    server_->start();
    play();
    server_->kill();
    server_->start(44'100);
    const std::vector<int> both = {48'000, 44'100};
    QTRY_COMPARE(source_->rates(), both); // before recording, which would set the sink's rate
    verifySoundReturns();
    verifyPlaysInRealTime();
}

void DeviceOutputTest::endsInTime_data() {
    QTest::addColumn<QString>("serverState");
    QTest::addColumn<bool>("playing");
    for (const bool playing : {false, true}) {
        for (const char* state :
             {"absent", "running", "dead", "hanging", "hanging from the start"}) {
            QTest::addRow("%s, %s", state, playing ? "playing" : "open")
                << QString::fromLatin1(state) << playing;
        }
    }
}

void DeviceOutputTest::endsInTime() {
    QFETCH(QString, serverState);
    QFETCH(bool, playing);
    if (serverState != QStringLiteral("absent")) {
        server_->start();
    }
    if (serverState == QStringLiteral("hanging from the start")) {
        server_->hang();
    }
    if (playing) {
        play();
    } else {
        output_->open(*source_);
    }
    if (serverState == QStringLiteral("dead")) {
        server_->kill();
    } else if (serverState == QStringLiteral("hanging")) {
        server_->hang();
    }
    QElapsedTimer timer;
    timer.start();
    output_.reset();
    QVERIFY2(timer.elapsed() < 800, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(DeviceOutputTest)
#include "DeviceOutputTest.moc"
