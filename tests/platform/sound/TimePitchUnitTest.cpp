#include <QTest>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "platform/sound/stretch/TimePitchUnit.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;

class FileInput final : public FrameInput {
  public:
    explicit FileInput(std::shared_ptr<SyntheticFile> file) : file_(std::move(file)) {}

    std::size_t read(float* stereo, std::size_t frames) noexcept override {
        const std::size_t got = file_->read(next_, std::span(stereo, 2 * frames));
        next_ += static_cast<std::int64_t>(got);
        return got;
    }
    std::int64_t runEnd() const noexcept override { return file_->length(); }

  private:
    std::shared_ptr<SyntheticFile> file_;
    std::int64_t next_ = 0;
};

/// Runs a whole file through, 64 frames at a time; `before` is told the frames made so far.
std::vector<float> run(
    TimePitchUnit& unit, const std::shared_ptr<SyntheticFile>& file,
    const std::function<void(std::size_t)>& before = [](std::size_t) {}) {
    FileInput input(file);
    std::vector<float> made;
    unit.begin(input);
    while (!unit.finished()) {
        before(made.size() / 2);
        made.resize(made.size() + 2 * 64);
        const std::size_t got = unit.process(made.data() + made.size() - 2 * 64, 64);
        made.resize(made.size() - 2 * (64 - got));
    }
    return made;
}

/// A sine of 440 Hz, run through.
std::vector<float> runSine(
    TimePitchUnit& unit, std::int64_t length,
    const std::function<void(std::size_t)>& before = [](std::size_t) {}) {
    return test::channelOf(run(unit, SyntheticFile::sine(rateHz, length, 440), before), 0);
}

/// Where the energy of [from, to) lies on average, in samples.
double centreOfEnergy(std::span<const float> mono, std::size_t from, std::size_t to) {
    double energy = 0, moment = 0;
    for (std::size_t i = from; i < std::min(to, mono.size()); ++i) {
        const double e = double(mono[i]) * mono[i];
        energy += e;
        moment += e * double(i);
    }
    return energy > 0 ? moment / energy : -1;
}

} // namespace

class TimePitchUnitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void isInTuneAndInTime_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("cents");
        for (const double rate : {0.05, 0.25, 0.5, 0.93, 3.0})
            for (const double cents : {-1200.0, 0.0, 37.0, 1200.0})
                QTest::addRow("%g at %g cents", rate, cents) << rate << cents;
    }
    void isInTuneAndInTime() {
        QFETCH(double, rate);
        QFETCH(double, cents);
        const bool isVerySlow = rate < 0.25;
        const std::int64_t length =
            isVerySlow ? rateHz / 3 : std::int64_t(rateHz * std::max(0.6, rate));
        set(rate, cents);
        const std::vector<float> made = runSine(unit_, length);
        const double seconds = double(made.size()) / rateHz;
        QCOMPARE_LT(std::abs(seconds - double(length) / rateHz / rate), 0.001);
        // No silence comes before it and none is left at the end; half a window is not steady yet.
        const auto level = [&](std::size_t from) {
            return test::rms(std::span(made).subspan(from, 2048));
        };
        QCOMPARE_GT(level(0), 0.4 * level(made.size() / 2));
        QCOMPARE_GT(level(made.size() - 2048), 0.4 * level(made.size() / 2));
        const std::size_t edge = std::size_t(0.1 * rateHz / std::min(1.0, rate));
        const double expected = 440 * std::exp2(cents / 1200);
        const test::Tone tone = test::measureTone(
            std::span(made).subspan(edge, made.size() - 2 * edge), rateHz, expected);
        QCOMPARE_LT(std::abs(test::centsBetween(tone.hz, expected)), 1.0);
        QCOMPARE_GT(tone.toResidualDb, isVerySlow ? 30.0 : 50.0);
        if (!isVerySlow)
            QCOMPARE_LT(std::abs(tone.amplitude - 0.5), 0.05);
    }

    void leavesNormalSpeedAlone() {
        set(1, 0);
        const auto file = SyntheticFile::numbered(rateHz, 100'003);
        const std::vector<float> made = run(unit_, file);
        std::vector<float> wanted(std::size_t(2 * file->length()));
        file->read(0, wanted);
        QVERIFY(made == wanted);
    }

    void everyPartComesWhenItShould_data() {
        QTest::addColumn<double>("firstRate");
        QTest::addColumn<bool>("changing");
        QTest::addColumn<bool>("pitching");
        QTest::newRow("half") << 0.5 << false << false;
        QTest::newRow("double") << 2.0 << false << false;
        QTest::newRow("from normal, changing") << 1.0 << true << false;
        QTest::newRow("speed and pitch changing") << 0.8 << true << true;
    }
    void everyPartComesWhenItShould() {
        QFETCH(double, firstRate);
        QFETCH(bool, changing);
        QFETCH(bool, pitching);
        constexpr std::int64_t apart = rateHz / 2;
        const auto bursts =
            std::make_shared<SyntheticFile>(rateHz, rateHz * 12, [](std::int64_t frame) {
                const double distance = double(frame % apart) - double(apart) / 2;
                const auto value = float(0.5 * std::exp(-distance * distance / 40000) *
                                         std::sin(double(frame) * 0.1));
                return std::pair(value, value);
            });
        set(firstRate, 0);
        std::mt19937 random(7);
        std::vector<double> positions; // of every 64th frame made
        const auto made = test::channelOf(
            run(unit_, bursts,
                [&](std::size_t frames) {
                    positions.push_back(unit_.position());
                    if (changing && frames % (64 * 70) == 0) {
                        unit_.setRate(std::uniform_real_distribution(0.3, 2.0)(random));
                        if (pitching)
                            unit_.setPitch(std::uniform_real_distribution(-1200.0, 1200.0)(random));
                    }
                }),
            0);
        double worst = 0;
        for (std::int64_t place = apart / 2; place < bursts->length(); place += apart) {
            const auto at = [&](double input) {
                return 64 *
                       std::size_t(std::ranges::lower_bound(positions, input) - positions.begin());
            };
            const double centre = centreOfEnergy(made, at(double(place) - apart / 2.0),
                                                 at(double(place) + apart / 2.0));
            worst = std::max(worst, std::abs(centre - double(at(double(place)))) / rateHz);
        }
        // An octave's jump moves what is inside the stretcher; that is made good over half a
        // second.
        QCOMPARE_LT(worst, pitching ? 0.05 : 0.02);
    }

    /// A region begins and ends anywhere in a note; what lies beyond must not be heard as a click.
    void beginsAndEndsWithoutAClick_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("phase");
        for (const double rate : {0.25, 0.5, 0.75, 2.0})
            for (const double phase : {0.0, 0.2, 0.25, 0.6})
                QTest::addRow("%g from %g of a period", rate, phase) << rate << phase;
    }
    void beginsAndEndsWithoutAClick() {
        QFETCH(double, rate);
        QFETCH(double, phase);
        constexpr double hz = 330;
        const auto file = std::make_shared<SyntheticFile>(rateHz, 20011, [phase](auto frame) {
            const double turns = phase + hz * double(frame) / rateHz;
            const auto value = float(0.5 * std::sin(2 * std::numbers::pi * turns));
            return std::pair(value, value);
        });
        unit_.setRate(rate);
        unit_.setPitch(0);
        const std::vector<float> made = test::channelOf(run(unit_, file), 0);
        const double own = 0.5 * std::pow(2 * std::numbers::pi * hz / rateHz, 2);
        QCOMPARE_LT(test::sharpestBend(made), 1.5 * own);
        const std::span<const float> all(made);
        for (const auto& edge : {all.first(441), all.last(441)})
            QVERIFY(std::abs(20 * std::log10(test::rms(edge) / (0.5 / std::sqrt(2.0)))) < 1.5);
    }

    /// A note that begins with the region begins as it does in the file, however slow.
    void anAttackOnTheFirstFrameStaysOne_data() {
        QTest::addColumn<double>("rate");
        for (const double rate : {0.25, 0.5, 0.75})
            QTest::addRow("%g", rate) << rate;
    }
    void anAttackOnTheFirstFrameStaysOne() {
        QFETCH(double, rate);
        const auto pluck = std::make_shared<SyntheticFile>(rateHz, rateHz / 2, [](auto frame) {
            double sum = 0;
            for (int n = 1; n < 12; ++n)
                sum += std::sin(0.047 * n * double(frame)) / n;
            const auto value = float(0.3 * std::exp(-6 * double(frame) / rateHz) * sum);
            return std::pair(value, value);
        });
        unit_.setRate(rate);
        unit_.setPitch(0);
        const std::vector<float> made = test::channelOf(run(unit_, pluck), 0);
        const std::span<const float> all(made);
        // Two periods of it, 6 ms, against the 30 ms after.
        QCOMPARE_GT(test::rms(all.first(268)), 0.9 * test::rms(all.subspan(268, 1323)));
    }

    void goesInWithoutAStep() {
        // What it did before leaves no trace, a pitch that changed under way least of all.
        set(0.8, 700);
        runSine(unit_, rateHz / 2, [&](std::size_t frames) {
            if (frames % 6400 == 0)
                unit_.setPitch(double(frames % 1000));
        });
        set(1, 0);
        const double smooth = test::sharpestBend(runSine(unit_, rateHz / 2));
        for (const std::int64_t atFrame : {64, 1920, 64 * 300}) {
            set(1, 0);
            const std::int64_t length = 2 * rateHz;
            const auto made = runSine(unit_, length, [&](std::size_t frames) {
                if (std::int64_t(frames) == atFrame)
                    unit_.setRate(0.5);
            });
            QCOMPARE_LT(test::sharpestBend(std::span(made).first(rateHz)), 1.3 * smooth);
            for (std::size_t i = 0; i + 882 < std::size_t(rateHz); i += 441) {
                const double level = test::rms(std::span(made).subspan(i, 882));
                QCOMPARE_LT(std::abs(20 * std::log10(level / 0.35355)), 1.0);
            }
            // Heard within 100 ms: at half speed, the rest lasts twice as long from there on.
            const double ideal = double(atFrame) + 2 * double(length - atFrame);
            QCOMPARE_GT(double(made.size()), ideal - 2 * 0.1 * rateHz);
            QCOMPARE_LE(double(made.size()), ideal);
        }
    }

    void bearsAnyNumber() {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        for (const auto& [rate, cents] : std::vector<std::pair<double, double>>{
                 {nan, nan}, {1e308, -1e308}, {-5, 1e308}, {0, 0}, {1e-300, 1200}}) {
            set(rate, cents);
            const std::vector<float> made = runSine(unit_, 3000);
            QVERIFY(!made.empty() && made.size() <= 3000 * 20);
            QVERIFY(std::ranges::all_of(made, [](float sample) { return std::isfinite(sample); }));
        }
    }

  private:
    void set(double rate, double cents) {
        unit_.setRate(rate);
        unit_.setPitch(cents);
    }

    TimePitchUnit unit_{rateHz};
};

QTEST_GUILESS_MAIN(TimePitchUnitTest)
#include "TimePitchUnitTest.moc"
