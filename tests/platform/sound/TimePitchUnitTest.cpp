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
    explicit FileInput(std::shared_ptr<AudioFile> file) : file_(std::move(file)) {}

    std::size_t read(float* sound, float* rest, std::size_t frames) noexcept override {
        const std::size_t got = file_->read(next_, std::span(sound, 2 * frames));
        std::copy_n(sound, 2 * got, rest);
        next_ += std::int64_t(got);
        return got;
    }
    std::int64_t runEnd() const noexcept override { return file_->length(); }

  private:
    std::shared_ptr<AudioFile> file_;
    std::int64_t next_ = 0;
};

/// A file of the same on both sides.
template <typename Formula>
std::shared_ptr<SyntheticFile> mono(std::int64_t length, const Formula& formula) {
    return std::make_shared<SyntheticFile>(rateHz, length, [formula](std::int64_t frame) {
        const auto value = float(formula(double(frame)));
        return std::pair(value, value);
    });
}

} // namespace

class TimePitchUnitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void isInTuneAndInTime_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("cents");
        for (const double rate : {0.05, 0.25, 0.93, 3.0})
            for (const double cents : {-1200.0, 37.0, 1200.0})
                QTest::addRow("%g at %g cents", rate, cents) << rate << cents;
    }
    void isInTuneAndInTime() {
        QFETCH(double, rate);
        QFETCH(double, cents);
        const bool isVerySlow = rate < 0.25;
        const auto length = std::int64_t(rateHz * (isVerySlow ? 0.3 : std::max(0.6, rate)));
        const auto made = run(SyntheticFile::sine(rateHz, length, 440), rate, cents);
        QCOMPARE_LT(std::abs(double(made.size()) - double(length) / rate), 0.001 * rateHz);
        // No silence comes before it and none is left at the end; half a window is not steady yet.
        const auto level = [&](std::size_t from) {
            return test::rms(std::span(made).subspan(from, 2048));
        };
        QCOMPARE_GT(level(0), 0.4 * level(made.size() / 2));
        QCOMPARE_GT(level(made.size() - 2048), 0.4 * level(made.size() / 2));
        const auto edge = std::size_t(0.1 * rateHz / std::min(1.0, rate));
        const double expected = 440 * std::exp2(cents / 1200);
        const test::Tone tone = test::measureTone(
            std::span(made).subspan(edge, made.size() - 2 * edge), rateHz, expected);
        QCOMPARE_LT(std::abs(test::centsBetween(tone.hz, expected)), 1.0);
        QCOMPARE_GT(tone.toResidualDb, isVerySlow ? 30.0 : 50.0);
        QVERIFY(isVerySlow || std::abs(tone.amplitude - 0.5) < 0.05);
    }

    /// Where the stretcher alone reaches 27 dB. The second one joins after half a second.
    void isPureInTheMiddle() {
        const auto made = run(SyntheticFile::sine(rateHz, rateHz, 1000), 0.25, 0);
        const test::Tone tone =
            test::measureTone(std::span(made).subspan(rateHz, 2 * rateHz), rateHz, 1000);
        QCOMPARE_GT(tone.toResidualDb, 40.0);
    }

    void positionIsWhatIsHeard_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<bool>("isChanging");
        QTest::addColumn<double>("cents");
        QTest::addColumn<double>("mostMs");
        QTest::newRow("half") << 0.5 << false << 0.0 << 20.0;
        QTest::newRow("three") << 3.0 << false << 0.0 << 20.0;
        QTest::newRow("from normal, changing") << 1.0 << true << 0.0 << 20.0;
        // An octave's jump moves what is inside the stretcher; that is made good over half a
        // second.
        QTest::newRow("speed and pitch changing") << 0.8 << true << 1200.0 << 50.0;
    }
    void positionIsWhatIsHeard() {
        QFETCH(double, rate);
        QFETCH(bool, isChanging);
        QFETCH(double, cents);
        QFETCH(double, mostMs);
        constexpr std::int64_t apart = rateHz / 2;
        const auto bursts = mono(rateHz * 8, [](double frame) {
            const double distance = std::fmod(frame, double(apart)) - double(apart) / 2;
            return 0.5 * std::exp(-distance * distance / 40000) * std::sin(frame * 0.1);
        });
        std::mt19937 random(7);
        std::vector<double> positions; // of every 64th frame made
        const auto made = run(bursts, rate, 0, [&](std::size_t frames) {
            positions.push_back(unit_.position());
            if (isChanging && frames % (64 * 70) == 0) {
                unit_.setRate(std::uniform_real_distribution(0.3, 2.0)(random));
                unit_.setPitch(std::uniform_real_distribution(-cents, cents)(random));
            }
        });
        const auto frameAt = [&](double position) {
            return 64 *
                   std::size_t(std::ranges::lower_bound(positions, position) - positions.begin());
        };
        for (double place = apart / 2; place < double(bursts->length()); place += apart) {
            double energy = 0, moment = 0;
            const std::size_t end = std::min(frameAt(place + apart / 2.0), made.size());
            for (std::size_t i = frameAt(place - apart / 2.0); i < end; ++i) {
                energy += double(made[i]) * made[i];
                moment += double(made[i]) * made[i] * double(i);
            }
            QCOMPARE_LT(std::abs(moment / energy - double(frameAt(place))), mostMs / 1000 * rateHz);
        }
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
        const double turn = 2 * std::numbers::pi * 330 / rateHz;
        const auto made = run(mono(20011,
                                   [=](double frame) {
                                       const double start = 2 * std::numbers::pi * phase;
                                       return 0.5 * std::sin(start + turn * frame);
                                   }),
                              rate);
        QCOMPARE_LT(test::largestBend(made), 1.5 * 0.5 * turn * turn);
        const std::span<const float> all(made);
        for (const auto& edge : {all.first(441), all.last(441)})
            QCOMPARE_LT(std::abs(20 * std::log10(test::rms(edge) * std::sqrt(8))), 1.5);
    }

    /// The stretcher is crossfaded in, wherever that is and whatever was done before, and out
    /// again.
    void leavesTheInputAndComesBackWithoutAStep() {
        const auto tone = mono(4 * rateHz, [](double frame) {
            return 0.3 * std::sin(0.05 * frame) + 0.2 * std::sin(0.083 * frame) +
                   1e-5 * std::sin(frame * frame);
        });
        for (const std::size_t from : {64, 1920, 64 * 300}) {
            run(SyntheticFile::sine(rateHz, rateHz / 4, 440), 0.8, 700, [&](std::size_t frames) {
                if (frames % 6400 == 0)
                    unit_.setPitch(double(frames % 1000));
            });
            const std::size_t to = from + 64 * 1000;
            const auto made = run(tone, 1, 0, [&](std::size_t frames) {
                if (frames == from || frames == to) {
                    unit_.setRate(frames == from ? 0.75 : 1);
                    unit_.setPitch(frames == from ? 200 : 0);
                }
            });
            QCOMPARE_LT(test::largestBend(made), 0.0035); // 1.3 times that of the tones, transposed
            const auto [quietest, loudest] = test::levelRange(made, rateHz);
            QVERIFY2(quietest > -1 && loudest < 1,
                     qPrintable(QStringLiteral("%1 to %2 dB").arg(quietest).arg(loudest)));
            // Heard within 100 ms: meanwhile everything lasts longer by a third.
            const double ideal = double(tone->length()) + double(to - from) / 4;
            QCOMPARE_LT(std::abs(double(made.size()) - ideal), 0.1 * rateHz);
            // 0.6 s later it is the file again, up to its end.
            std::size_t alike = 0;
            while (made[made.size() - 1 - alike] ==
                   tone->at(tone->length() - 1 - std::int64_t(alike)).first)
                ++alike;
            QCOMPARE_GT(double(alike), double(made.size() - to) - 0.6 * rateHz);
        }
    }

  private:
    /// What becomes of a file's left side, 64 frames at a time; `before` is told the frames made so
    /// far.
    std::vector<float> run(
        const std::shared_ptr<AudioFile>& file, double rate, double cents = 0,
        const std::function<void(std::size_t)>& before = [](std::size_t) {}) {
        unit_.setRate(rate);
        unit_.setPitch(cents);
        FileInput input(file);
        std::vector<float> made;
        unit_.begin(input);
        while (!unit_.finished()) {
            before(made.size() / 2);
            made.resize(made.size() + 2 * 64);
            const std::size_t got = unit_.process(made.data() + made.size() - 2 * 64, 64);
            made.resize(made.size() - 2 * (64 - got));
        }
        return test::channelOf(made, 0);
    }

    TimePitchUnit unit_{rateHz};
};

QTEST_GUILESS_MAIN(TimePitchUnitTest)
#include "TimePitchUnitTest.moc"
