#include <QTest>

#include <limits>

#include "platform/sound/EqualiserUnit.h"
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
    void raisesItsOwnBand_data();
    void raisesItsOwnBand();
    void leavesTheSoundAloneWhenItDoesNothing();
    void changesWithoutAClick_data();
    void changesWithoutAClick();
    void bearsAnyNumber_data();
    void bearsAnyNumber();
};

void EqualiserUnitTest::raisesItsOwnBand_data() {
    QTest::addColumn<int>("band");
    QTest::addColumn<double>("centreHz");
    QTest::addColumn<float>("gainDb");
    const std::array<double, 5> centres{60, 250, 1000, 4000, 12000};
    for (int band = 0; band < 5; ++band)
        for (const float gain : {-12.0F, 6.5F, 12.0F})
            QTest::addRow("%g Hz by %g dB", centres[std::size_t(band)], double(gain))
                << band << centres[std::size_t(band)] << gain;
}

void EqualiserUnitTest::raisesItsOwnBand() {
    QFETCH(int, band);
    QFETCH(double, centreHz);
    QFETCH(float, gainDb);
    EqualiserUnit unit(rateHz);
    unit.set(bandsWith(band, gainDb), false);
    unit.reset();
    QVERIFY(std::abs(gainAt(unit, centreHz) - double(gainDb)) < 0.1);
    // Half the gain half an octave away (warped a little towards the top), next to none far off.
    if (centreHz < 4000)
        QVERIFY(std::abs(gainAt(unit, centreHz * std::sqrt(2.0)) - double(gainDb) / 2) < 0.5);
    QVERIFY(std::abs(gainAt(unit, centreHz > 1000 ? centreHz / 16 : centreHz * 16)) < 0.3);
}

void EqualiserUnitTest::leavesTheSoundAloneWhenItDoesNothing() {
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
    QVERIFY(std::equal(after.begin() + std::ptrdiff_t(off), after.end(),
                       before.begin() + std::ptrdiff_t(off)));
}

void EqualiserUnitTest::changesWithoutAClick_data() {
    QTest::addColumn<int>("how");
    QTest::newRow("gain") << 0;
    QTest::newRow("switch") << 1;
    QTest::newRow("gains dragged") << 2;
}

void EqualiserUnitTest::changesWithoutAClick() {
    QFETCH(int, how);
    EqualiserUnit unit(rateHz);
    unit.set(bandsWith(1, how == 1 ? 12 : -12), how == 1);
    unit.reset();
    std::vector<float> stereo = sine(250);
    process(unit, stereo, [&](std::size_t frame) {
        if (how == 0 && frame >= 12800)
            unit.set(bandsWith(1, 12), false);
        if (how == 1)
            unit.set(bandsWith(1, 12), frame % 12800 < 6400);
        if (how == 2)
            unit.set(bandsWith(1, float(frame % 1280) / 64 - 10), false);
    });
    const double loudest = test::sharpestBend(test::channelOf(sine(250), 0)) * std::pow(10, 0.6);
    // Where a ramp begins the sound bends a little; a step would stand out a hundredfold.
    QVERIFY(test::sharpestBend(test::channelOf(stereo, 0)) < 3 * loudest);
}

void EqualiserUnitTest::bearsAnyNumber_data() {
    QTest::addColumn<float>("value");
    QTest::newRow("not a number") << std::numeric_limits<float>::quiet_NaN();
    QTest::newRow("infinite") << std::numeric_limits<float>::infinity();
    QTest::newRow("largest") << std::numeric_limits<float>::max();
    QTest::newRow("smallest") << std::numeric_limits<float>::lowest();
    QTest::newRow("tiny") << std::numeric_limits<float>::denorm_min();
}

void EqualiserUnitTest::bearsAnyNumber() {
    QFETCH(float, value);
    for (int field = 0; field < 3; ++field) {
        EqualiserUnit unit(rateHz);
        EqualiserUnit::Bands bands = bandsWith(0, 6);
        for (EqualiserUnit::Band& band : bands)
            (field == 0   ? band.frequencyHz
             : field == 1 ? band.bandwidthOctaves
                          : band.gainDb) = value;
        unit.set(bands, false);
        std::vector<float> stereo = sine(440);
        process(unit, stereo);
        QVERIFY(std::all_of(stereo.begin(), stereo.end(),
                            [](float s) { return std::isfinite(s) && std::abs(s) < 1e12F; }));
    }
}

QTEST_GUILESS_MAIN(EqualiserUnitTest)
#include "EqualiserUnitTest.moc"
