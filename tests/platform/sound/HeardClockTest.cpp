#include "platform/sound/device/HeardClock.h"

#include <QTest>

using namespace ambrel;
using namespace std::chrono_literals;

namespace {
constexpr double rate = 48'000;
constexpr std::int64_t plenty = 1'000'000'000'000;
} // namespace

/// The play head is drawn from this: it must move evenly, never back, and never ahead of the sound.
class HeardClockTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void evensOutJitterAndFollowsJumps() {
        // How much more is told than expected, and how much of that is followed, in seconds.
        for (const auto& [told, followed] :
             {std::pair(0.005, 0.001), {-0.005, -0.001}, {0.5, 0.5}, {-0.5, -0.5}}) {
            HeardClock clock;
            // Times in the future: what is heard stands still where the clock begins.
            const auto first = SoundClock::now() + 1h;
            clock.follow(first, 100 * rate, rate, HeardClock::noCeiling);
            clock.follow(first + 1s, (101 + told) * rate, rate, HeardClock::noCeiling);
            QCOMPARE_LT(std::abs(double(clock.heard(plenty)) / rate - (101 + followed)), 0.0001);
        }
    }

    void neverGoesBackNorAhead() {
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
};

QTEST_GUILESS_MAIN(HeardClockTest)
#include "HeardClockTest.moc"
