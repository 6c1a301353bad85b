#include "platform/sound/device/DeviceCallback.h"

#include "platform/sound/device/HeardClock.h"
#include "support/SoundMeasures.h"
#include "support/ToneSource.h"

#include <QTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <span>
#include <thread>
#include <vector>

using namespace ambrel;

/// What the play head shows rests on knowing which frame of a stream is which frame of the music,
/// whatever silence lies between.
class DeviceCallbackTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        source_ = std::make_unique<ToneSource>();
        access_ = std::make_shared<SourceAccess>();
        access_->open(*source_);
        access_->prepare(rate, 300);
        access_->setPuller(Puller::device);
        callback_ = std::make_unique<DeviceCallback>(access_, rate);
    }

    void mapsPositionsAcrossSilence() {
        access_->setPuller(Puller::nobody);
        QVERIFY(!request(500)); // stream 0 to 500: silence
        access_->setPuller(Puller::device);
        QVERIFY(request(300)); // 500 to 800: frames 0 to 300
        QVERIFY(request(300)); // 800 to 1100: frames 300 to 600
        access_->setPuller(Puller::nobody);
        QVERIFY(!request(1'000)); // 1100 to 2100: silence
        access_->setPuller(Puller::device);
        QVERIFY(request(300)); // 2100 to 2400: frames 600 to 900

        struct Row {
            std::uint64_t position;
            double heard;
            std::int64_t ceiling;
        };
        QVERIFY(!callback_->heardAt(499));
        for (const Row& row :
             {Row{500, 0, 600}, Row{900, 400, 600}, Row{1'500, 1'000, 600},
              Row{2'100, 600, HeardClock::noCeiling}, Row{2'399, 899, HeardClock::noCeiling}}) {
            const auto heard = callback_->heardAt(row.position);
            QCOMPARE(heard.value().frames, row.heard);
            QCOMPARE(heard.value().ceiling, row.ceiling);
        }
        access_->setPuller(Puller::nobody);
        QVERIFY(!request(100));
        QCOMPARE(callback_->heardAt(2'450)->ceiling, std::int64_t{900});
    }

    void isSilentWithoutTheTurnAndForAnotherDevice() {
        access_->setPuller(Puller::clock);
        QVERIFY(!request(300));
        QCOMPARE(source_->rendered(), std::int64_t{0});
        access_->setPuller(Puller::device);
        QVERIFY(request(300));

        access_->prepare(44'100, 300); // for another device
        QVERIFY(!request(300));
        QCOMPARE(source_->rendered(), std::int64_t{300});
    }

    /// The clock has played on meanwhile: what comes next is in the middle of a tone.
    void comesInWithoutAClick() {
        for (const int clockFrames : {11, 37, 61}) {
            QVERIFY(request(300));
            access_->setPuller(Puller::clock);
            QVERIFY(!request(300));
            std::vector<float> discarded(2 * std::size_t(clockFrames));
            access_->render(Puller::clock, rate, discarded.data(), discarded.size() / 2);
            access_->setPuller(Puller::device);
            std::vector<float> stereo(2 * 300, 0.0F);
            callback_->fill(stereo.data() + 2, 299);
            QCOMPARE_LT(test::largestBend(test::channelOf(stereo, 0)), 1.5 * smoothBend);
            QCOMPARE_GT(test::rms(std::span(stereo).last(200)), 0.6 * ToneSource::amplitude);
        }
    }

    void givesUpADeviceThatTakesFramesWithoutPace() {
        QVERIFY2(request(3 * rate) && !callback_->isLost(), "a long buffer is filled at once");
        for (int second = 0; second < 20; ++second) {
            request(rate);
        }
        QVERIFY(callback_->isLost() && callback_->isPaceless());
        QVERIFY(!request(300));
    }

    void keepsAClosedSourceAlone() {
        std::atomic<bool> ended = false;
        std::atomic<std::int64_t> turns = 0;
        std::thread device([&] {
            std::vector<float> stereo(2 * 300);
            for (; !ended; ++turns) {
                access_->render(Puller::device, rate, stereo.data(), 300);
            }
        });
        QTRY_VERIFY(source_->rendered() > 0);
        access_->close();
        const std::int64_t rendered = source_->rendered();
        source_.reset(); // a render after this is a use after free
        QTRY_VERIFY(turns > rendered / 300 + 10);
        ended = true;
        device.join();
        QCOMPARE(access_->rendered(), rendered);
    }

  private:
    /// Asks for frames as a device does; whether they are the source's.
    bool request(std::size_t frames) {
        std::vector<float> stereo(2 * frames, 99.0F);
        callback_->fill(stereo.data(), frames);
        return std::ranges::any_of(stereo, [](float sample) { return sample != 0; });
    }

    static constexpr int rate = 48'000;
    /// The tone's own second difference.
    static constexpr double smoothBend = ToneSource::amplitude * 0.131 * 0.131;
    std::unique_ptr<ToneSource> source_;
    std::shared_ptr<SourceAccess> access_;
    std::unique_ptr<DeviceCallback> callback_;
};

QTEST_GUILESS_MAIN(DeviceCallbackTest)
#include "DeviceCallbackTest.moc"
