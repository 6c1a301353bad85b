#include <QTest>

#include <numbers>

#include "platform/sound/effect/Limiter.h"
#include "support/SoundMeasures.h"

using namespace ambrel;

namespace {

constexpr int rateHz = 44100;

/// As stereo, with half the level on the right.
std::vector<float> limited(const std::vector<float>& mono) {
    Limiter limiter(rateHz);
    std::vector<float> stereo;
    std::size_t done = 0;
    for (const float sample : mono) {
        stereo.insert(stereo.end(), {sample, sample / 2});
        limiter.see(stereo.data() + stereo.size() - 2, 1);
        done += limiter.apply(stereo.data() + 2 * done, 1);
    }
    limiter.seeEnd();
    limiter.apply(stereo.data() + 2 * done, mono.size() - done);
    return stereo;
}

} // namespace

class LimiterTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    /// What comes out of a constant is the gain.
    void movesSmoothlyAndOnlyAroundAPeak() {
        for (const float peak : {1.0000001F, 2.0F, 1000.0F}) {
            std::vector<float> gain(rateHz, 1.0F);
            std::fill_n(gain.begin() + 10'000, 200, peak);
            const std::vector<float> stereo = limited(gain);
            for (std::size_t i = 0; i < gain.size(); ++i) {
                QCOMPARE_LE(stereo[2 * i], 1.0F);
                QCOMPARE(stereo[2 * i + 1], stereo[2 * i] / 2);
                gain[i] = stereo[2 * i] / gain[i];
            }
            QCOMPARE_LT(test::largestBend(gain), 0.0015);
            std::fill_n(gain.begin() + 10'000 - rateHz * 15 / 10'000, rateHz * 6 / 10, 1.0F);
            QCOMPARE(gain, std::vector<float>(rateHz, 1.0F));
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
