#include <QTest>

#include "platform/sound/effect/EqualiserUnit.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

using namespace ambrel;

namespace {

constexpr int rateHz = 44100;
constexpr std::array<float, EqualiserUnit::bandCount> centres{60, 250, 1000, 4000, 12000};

EqualiserUnit::Bands bandsWith(std::size_t band, float gainDb) {
    EqualiserUnit::Bands bands;
    for (std::size_t i = 0; i < bands.size(); ++i)
        bands[i] = {centres[i], 1, i == band ? gainDb : 0};
    return bands;
}

std::vector<float> sine(double hz) {
    std::vector<float> stereo(2 * rateHz);
    test::SyntheticFile::sine(rateHz, rateHz, hz, 0.25)->read(0, stereo);
    return stereo;
}

/// In blocks of 64 frames, as the render thread does; `set` is called before each.
std::vector<float> processed(std::vector<float> stereo,
                             const std::function<void(EqualiserUnit&, std::size_t frame)>& set) {
    EqualiserUnit unit(rateHz);
    set(unit, 0);
    unit.reset();
    for (std::size_t frame = 0; frame < stereo.size() / 2; frame += 64) {
        set(unit, frame);
        unit.process(stereo.data() + 2 * frame,
                     std::min<std::size_t>(64, stereo.size() / 2 - frame));
    }
    return stereo;
}

double gainAt(double hz, const EqualiserUnit::Bands& bands) {
    const auto stereo =
        processed(sine(hz), [&](EqualiserUnit& unit, std::size_t) { unit.set(bands, false); });
    return 20 * std::log10(test::rms(std::span(stereo).subspan(rateHz)) * std::sqrt(2) / 0.25);
}

} // namespace

class EqualiserUnitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void raisesItsOwnBand() {
        for (std::size_t band = 0; band < centres.size(); ++band)
            for (const float gainDb : {-12.0F, 6.5F}) {
                const double hz = double(centres[band]);
                const EqualiserUnit::Bands bands = bandsWith(band, gainDb);
                QCOMPARE_LT(std::abs(gainAt(hz, bands) - double(gainDb)), 0.1);
                // Half of it half an octave away (warped towards the top), next to none far off.
                if (hz < 4000)
                    QCOMPARE_LT(std::abs(gainAt(hz * std::sqrt(2), bands) - double(gainDb) / 2),
                                0.5);
                QCOMPARE_LT(std::abs(gainAt(hz > 1000 ? hz / 16 : hz * 16, bands)), 0.3);
            }
    }
};

QTEST_GUILESS_MAIN(EqualiserUnitTest)
#include "EqualiserUnitTest.moc"
