#include <QTest>

#include <limits>

#include "platform/sound/effect/EqualiserUnit.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;

EqualiserUnit::Bands bandsWith(int band, float gainDb) {
    constexpr std::array<float, EqualiserUnit::bandCount> centres{60, 250, 1000, 4000, 12000};
    EqualiserUnit::Bands bands;
    for (std::size_t i = 0; i < bands.size(); ++i)
        bands[i] = {centres[i], 1, int(i) == band ? gainDb : 0};
    return bands;
}

std::vector<float> sine(double hz, std::int64_t frames = rateHz) {
    std::vector<float> stereo(std::size_t(2 * frames));
    SyntheticFile::sine(rateHz, frames, hz, 0.25)->read(0, stereo);
    return stereo;
}

/// In blocks of 64 frames, as the render thread does; `before` may set things.
void process(
    EqualiserUnit& unit, std::vector<float>& stereo,
    const std::function<void(std::size_t frame)>& before = [](std::size_t) {}) {
    for (std::size_t frame = 0; frame < stereo.size() / 2; frame += 64) {
        before(frame);
        unit.process(stereo.data() + 2 * frame,
                     std::min<std::size_t>(64, stereo.size() / 2 - frame));
    }
}

double gainAt(EqualiserUnit& unit, double hz) {
    std::vector<float> stereo = sine(hz);
    process(unit, stereo);
    const auto mono = test::channelOf(stereo, 1);
    return 20 * std::log10(test::rms(std::span(mono).subspan(rateHz / 2)) / (0.25 / std::sqrt(2)));
}

} // namespace

class EqualiserUnitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void raisesItsOwnBand() {
        const std::array<double, 5> centres{60, 250, 1000, 4000, 12000};
        for (int band = 0; band < 5; ++band)
            for (const float gainDb : {-12.0F, 6.5F, 12.0F}) {
                const double hz = centres[std::size_t(band)];
                EqualiserUnit unit(rateHz);
                unit.set(bandsWith(band, gainDb), false);
                unit.reset();
                QCOMPARE_LT(std::abs(gainAt(unit, hz) - double(gainDb)), 0.1);
                // Half of it half an octave away (warped towards the top), next to none far off.
                if (hz < 4000)
                    QCOMPARE_LT(std::abs(gainAt(unit, hz * std::sqrt(2)) - double(gainDb) / 2),
                                0.5);
                QCOMPARE_LT(std::abs(gainAt(unit, hz > 1000 ? hz / 16 : hz * 16)), 0.3);
            }
    }

    void leavesTheSoundAloneWhenItDoesNothing() {
        const std::vector<float> before = sine(997);
        for (const auto& [gain, bypass] : {std::pair(12.0F, true), std::pair(0.0F, false)}) {
            EqualiserUnit unit(rateHz);
            unit.set(bandsWith(2, gain), bypass);
            unit.reset();
            std::vector<float> after = before;
            process(unit, after);
            QVERIFY(after == before);
        }
        // And again once it was on: 20 ms after it is switched off.
        EqualiserUnit unit(rateHz);
        std::vector<float> after = before;
        process(unit, after, [&](std::size_t frame) { unit.set(bandsWith(2, 12), frame >= 6400); });
        const auto off = std::size_t(2 * (6400 + rateHz / 50 + 64));
        QVERIFY(std::ranges::equal(std::span(after).subspan(off), std::span(before).subspan(off)));
    }

    void changesWithoutAClick() {
        const double loudest =
            test::sharpestBend(test::channelOf(sine(250), 0)) * std::pow(10, 0.6);
        const std::vector<std::function<void(EqualiserUnit&, std::size_t)>> changes = {
            [](auto& unit, auto frame) { unit.set(bandsWith(1, frame < 12800 ? -12 : 12), false); },
            [](auto& unit, auto frame) { unit.set(bandsWith(1, 12), frame % 12800 < 6400); },
            [](auto& unit, auto frame) { // dragged
                unit.set(bandsWith(1, float(frame % 1280) / 64 - 10), false);
            },
        };
        for (const auto& change : changes) {
            EqualiserUnit unit(rateHz);
            change(unit, 0);
            unit.reset();
            std::vector<float> stereo = sine(250);
            process(unit, stereo, [&](std::size_t frame) { change(unit, frame); });
            // Where a ramp begins the sound bends a little; a step would stand out a hundredfold.
            QCOMPARE_LT(test::sharpestBend(test::channelOf(stereo, 0)), 3 * loudest);
        }
    }

    void bearsAnyNumber() {
        using Limits = std::numeric_limits<float>;
        for (const float value : {Limits::quiet_NaN(), Limits::infinity(), Limits::max(),
                                  Limits::lowest(), Limits::denorm_min()})
            for (const auto field :
                 {&EqualiserUnit::Band::frequencyHz, &EqualiserUnit::Band::bandwidthOctaves,
                  &EqualiserUnit::Band::gainDb}) {
                EqualiserUnit unit(rateHz);
                EqualiserUnit::Bands bands = bandsWith(0, 6);
                for (EqualiserUnit::Band& band : bands)
                    band.*field = value;
                unit.set(bands, false);
                std::vector<float> stereo = sine(440);
                process(unit, stereo);
                QVERIFY(std::ranges::all_of(stereo, [](float s) { return std::abs(s) < 1e12F; }));
            }
    }
};

QTEST_GUILESS_MAIN(EqualiserUnitTest)
#include "EqualiserUnitTest.moc"
