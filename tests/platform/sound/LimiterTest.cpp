#include <QTest>

#include <numbers>

#include "platform/sound/effect/Limiter.h"
#include "support/SoundMeasures.h"

using namespace ambrel;

namespace {

constexpr int rateHz = 44100;

/// Left, with a right channel of half the level; in blocks, each scaled once its gain is known.
std::vector<float> limited(const std::vector<float>& mono) {
    std::vector<float> stereo;
    for (const float sample : mono)
        stereo.insert(stereo.end(), {sample, sample / 2});
    Limiter limiter(rateHz);
    constexpr std::size_t block = 63;
    std::size_t done = 0;
    for (std::size_t seen = 0; seen < mono.size(); seen += block) {
        limiter.see(stereo.data() + 2 * seen, std::min(block, mono.size() - seen));
        while (limiter.apply(stereo.data() + 2 * done, 1))
            ++done;
    }
    limiter.seeEnd();
    return limiter.apply(stereo.data() + 2 * done, mono.size() - done) ? stereo
                                                                       : std::vector<float>();
}

} // namespace

class LimiterTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    /// On a constant, so that what comes out is the gain.
    void comesDownSmoothlyAndGoesBackToNothing() {
        constexpr std::size_t from = 10'000, to = 10'200;
        for (const float peak : {1.0000001F, 2.0F, 1000.0F}) {
            std::vector<float> before(rateHz, 1.0F);
            std::fill(before.begin() + from, before.begin() + to, peak);
            const std::vector<float> after = limited(before);
            std::vector<float> gain = test::channelOf(after, 0);
            QCOMPARE_LE(std::ranges::max(gain), 1.0F);
            for (std::size_t i = 0; i < gain.size(); ++i) {
                QCOMPARE(after[2 * i + 1], gain[i] / 2);
                gain[i] /= before[i];
            }
            QCOMPARE_LT(test::largestBend(gain), 0.0015);
            QVERIFY(std::ranges::all_of(std::span(gain).first(from - rateHz * 15 / 10'000),
                                        [](float g) { return g == 1; }));
            QVERIFY(std::ranges::all_of(std::span(gain).subspan(to + rateHz * 6 / 10),
                                        [](float g) { return g == 1; }));
        }
    }

    void bendsNoTone() {
        for (const double hz : {30.0, 440.0}) {
            std::vector<float> tone(rateHz);
            for (std::size_t i = 0; i < tone.size(); ++i)
                tone[i] = float(2 * std::sin(2 * std::numbers::pi * hz * double(i) / rateHz));
            const auto heard = test::channelOf(limited(tone), 0);
            QCOMPARE_LE(std::ranges::max(heard), 1.0F);
            const auto steady = test::measureTone(std::span(heard).last(rateHz / 2), rateHz, hz);
            QCOMPARE_GT(steady.amplitude, 0.99);
            QCOMPARE_GT(steady.toResidualDb, 40.0); // 1 %
        }
    }
};

QTEST_GUILESS_MAIN(LimiterTest)
#include "LimiterTest.moc"
