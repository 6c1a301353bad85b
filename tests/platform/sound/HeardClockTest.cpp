#include "platform/sound/device/HeardClock.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

using namespace ambrel;
using namespace std::chrono_literals;

namespace {

constexpr double rate = 48'000;
constexpr std::int64_t plenty = 1'000'000'000;

} // namespace

/// The play head is drawn from this: it must move evenly, never back, and never ahead of the sound.
class HeardClockTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void evensOutJitterAndFollowsJumps() {
        struct Case {
            double toldMoreThanExpected, taken; // seconds
        };
        for (const Case& c :
             {Case{0.005, 0.001}, Case{-0.005, -0.001}, Case{0.5, 0.5}, Case{-0.5, -0.5}}) {
            HeardClock clock;
            // Times in the future: what is heard stands still at the line's beginning.
            const auto first = SoundClock::now() + 1h;
            clock.follow(first, 100 * rate, rate, HeardClock::noCeiling);
            clock.follow(first + 1s, (101 + c.toldMoreThanExpected) * rate, rate,
                         HeardClock::noCeiling);
            const double heardSeconds = static_cast<double>(clock.heard(plenty)) / rate;
            QCOMPARE_LT(std::abs(heardSeconds - (101 + c.taken)), 0.0001);
        }
    }

    void neverGoesBack() {
        HeardClock clock;
        const auto past = SoundClock::now() - 1s;
        clock.run(past, 0, rate);
        QCOMPARE(clock.heard(20'000), std::int64_t{20'000});
        clock.run(past, 0, rate, 30'000);
        QCOMPARE(clock.heard(plenty), std::int64_t{30'000});
        clock.rest(10'000);
        QCOMPARE(clock.heard(plenty), std::int64_t{30'000});
        clock.rest(50'000);
        QCOMPARE(clock.heard(plenty), std::int64_t{50'000});
    }

    // Each published line lies wholly in one of two far ranges; a mixture of two would not.
    void isConsistentWhileWritten() {
        HeardClock clock;
        std::atomic<bool> ended = false;
        std::thread writer([&] {
            for (std::int64_t lines = 1; !ended; ++lines) {
                const std::int64_t base = lines * 1'000;
                clock.run(SoundClock::now() + 1h, static_cast<double>(base + 10), rate, base + 5);
            }
        });
        bool consistent = true;
        const QDeadlineTimer end(200);
        while (!end.hasExpired()) {
            const std::int64_t heard = clock.heard(plenty * 1'000);
            consistent = consistent && (heard == 0 || heard % 1'000 == 5);
        }
        ended = true;
        writer.join();
        QVERIFY(consistent);
        QVERIFY(clock.heard(plenty * 1'000) > 0);
    }
};

QTEST_GUILESS_MAIN(HeardClockTest)
#include "HeardClockTest.moc"
