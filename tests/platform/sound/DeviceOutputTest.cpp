#include "platform/sound/device/DeviceOutput.h"

#include "support/PrivateSoundServer.h"
#include "support/ToneSource.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <functional>
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
    void init() {
        server_ = std::make_unique<PrivateSoundServer>();
        source_ = std::make_unique<ToneSource>();
        output_ = std::make_unique<DeviceOutput>();
    }
    void cleanup() {
        output_.reset();
        QVERIFY(source_->wasAskedProperly());
        server_.reset();
    }

    void isHeardAndCountsWhatIs() {
        server_->start();
        SinkRecorder recorder;
        play();
        QTRY_VERIFY(level(recorder.record(100ms)) > clearlyHeard);
        std::int64_t last = 0;
        const QDeadlineTimer end(500);
        while (!end.hasExpired()) {
            const std::int64_t heard = output_->framesHeard();
            QVERIFY(heard >= last && heard <= source_->rendered());
            last = heard;
        }
        verifyPlaysInRealTime();
        output_->stop();
        QTRY_COMPARE(output_->framesHeard(), source_->rendered());
        QTRY_COMPARE(level(recorder.record(100ms)), 0.0);
        QCOMPARE(source_->rates(), std::vector<int>{48'000});
    }

    void goesOn_data() {
        QTest::addColumn<Deed>("lose");
        QTest::addColumn<Deed>("restore");
        const Deed kill = [](PrivateSoundServer& server) { server.kill(); };
        const Deed start = [](PrivateSoundServer& server) { server.start(); };
        QTest::newRow("without a server") << kill << start;
        QTest::newRow("when the server hangs")
            << Deed([](PrivateSoundServer& server) { server.hang(); })
            << Deed([](PrivateSoundServer& server) { server.goOn(); });
        QTest::newRow("when the only sink goes")
            << Deed([](PrivateSoundServer& server) { server.removeSink(QStringLiteral("one")); })
            << Deed([](PrivateSoundServer& server) { server.addSink(QStringLiteral("one")); });
    }
    void goesOn() {
        QFETCH(Deed, lose);
        QFETCH(Deed, restore);
        server_->start();
        play();
        verifySoundReturns();
        for (int turn = 0; turn < 2; ++turn) {
            lose(*server_);
            verifyPlaysInRealTime();
            restore(*server_);
            verifySoundReturns();
        }
        output_->stop();
        QTRY_COMPARE(output_->framesHeard(), source_->rendered());
    }

    /// The clock, which steps in when that takes long, leaves the device its rate.
    void isHeardAfterALongPreparation() {
        source_->preparation = 600ms;
        server_->start({44'100});
        play();
        // Before recording, which would set the rate of a sink that nothing plays on.
        QTRY_COMPARE(source_->rates(), std::vector<int>{44'100});
        verifySoundReturns();
        server_->kill();
        server_->start();
        verifySoundReturns();
        QCOMPARE(source_->rates(), (std::vector<int>{44'100, 48'000}));
    }

    void endsInTime_data() {
        QTest::addColumn<QString>("serverState");
        QTest::addColumn<bool>("playing");
        for (const bool playing : {false, true})
            for (const char* state :
                 {"absent", "running", "dead", "hanging", "hanging from the start"})
                QTest::addRow("%s, %s", state, playing ? "playing" : "open")
                    << QString::fromLatin1(state) << playing;
    }
    void endsInTime() {
        QFETCH(QString, serverState);
        QFETCH(bool, playing);
        if (serverState != QStringLiteral("absent"))
            server_->start();
        if (serverState == QStringLiteral("hanging from the start"))
            server_->hang();
        playing ? play() : output_->open(*source_);
        if (serverState == QStringLiteral("dead"))
            server_->kill();
        else if (serverState == QStringLiteral("hanging"))
            server_->hang();
        QElapsedTimer timer;
        timer.start();
        output_.reset();
        QCOMPARE_LT(timer.elapsed(), 800);
    }

  private:
    using Deed = std::function<void(PrivateSoundServer&)>;

    void play() {
        output_->open(*source_);
        output_->start();
        QTRY_VERIFY(source_->rendered() > 0);
    }

    void verifyPlaysInRealTime() {
        // The change of clocks costs 0.1 s, a busy machine as much again.
        const auto begin = SoundClock::now();
        const std::int64_t rendered = source_->rendered();
        const std::int64_t heard = output_->framesHeard();
        QTest::qWait(1'000);
        const double seconds = std::chrono::duration<double>(SoundClock::now() - begin).count();
        const double rate = source_->rates().back();
        QCOMPARE_LT(std::abs(double(source_->rendered() - rendered) / rate - seconds), 0.4);
        QCOMPARE_LT(std::abs(double(output_->framesHeard() - heard) / rate - seconds), 0.4);
    }

    void verifySoundReturns() {
        SinkRecorder recorder;
        QTRY_VERIFY(level(recorder.record(100ms)) > clearlyHeard);
    }

    std::unique_ptr<PrivateSoundServer> server_;
    std::unique_ptr<ToneSource> source_;
    std::unique_ptr<DeviceOutput> output_;
};

QTEST_GUILESS_MAIN(DeviceOutputTest)
#include "DeviceOutputTest.moc"
