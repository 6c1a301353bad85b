#include <QTest>

#include <numbers>
#include <random>

#include "platform/sound/TimePitchUnit.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;

/// A run's frames, as many at a time as the test allows.
class FileInput final : public FrameInput {
  public:
    FileInput(std::shared_ptr<SyntheticFile> file, std::size_t most = SIZE_MAX)
        : file_(std::move(file)), most_(most) {}

    std::size_t read(float* stereo, std::size_t frames) noexcept override {
        const std::size_t got = file_->read(next_, std::span(stereo, 2 * std::min(frames, most_)));
        next_ += static_cast<std::int64_t>(got);
        return got;
    }

  private:
    std::shared_ptr<SyntheticFile> file_;
    std::size_t most_;
    std::int64_t next_ = 0;
};

/// Runs a whole file through, 64 frames at a time; `before` is told the frames made so far.
std::vector<float> run(
    TimePitchUnit& unit, const std::shared_ptr<SyntheticFile>& file,
    const std::function<void(std::size_t)>& before = [](std::size_t) {}) {
    FileInput input(file);
    std::vector<float> made;
    unit.begin(file->length());
    while (!unit.finished()) {
        before(made.size() / 2);
        made.resize(made.size() + 2 * 64);
        const std::size_t got = unit.process(input, made.data() + made.size() - 2 * 64, 64);
        made.resize(made.size() - 2 * (64 - got));
    }
    return made;
}

/// Short bursts of a tone, each its own place.
std::shared_ptr<SyntheticFile> bursts(std::int64_t length, std::int64_t apart) {
    return std::make_shared<SyntheticFile>(rateHz, length, [=](std::int64_t frame) {
        const double distance = double(frame % apart) - double(apart) / 2;
        const auto value = static_cast<float>(0.5 * std::exp(-distance * distance / 40000) *
                                              std::sin(double(frame) * 0.1));
        return std::pair(value, value);
    });
}

} // namespace

class TimePitchUnitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void isInTuneAndInTime_data();
    void isInTuneAndInTime();
    void leavesNormalSpeedAlone();
    void everyPartComesWhenItShould_data();
    void everyPartComesWhenItShould();
    void startsWithTheFirstFrame();
    void goesInWithoutAStep_data();
    void goesInWithoutAStep();
    void bearsAnyNumber();

  private:
    std::unique_ptr<TimePitchUnit> unit_;
};

void TimePitchUnitTest::initTestCase() {
    unit_ = std::make_unique<TimePitchUnit>(rateHz);
}

void TimePitchUnitTest::isInTuneAndInTime_data() {
    QTest::addColumn<double>("rate");
    QTest::addColumn<double>("cents");
    QTest::addColumn<double>("purityDb");
    for (const double rate : {0.05, 0.25, 0.5, 0.93, 3.0})
        for (const double cents : {-1200.0, 0.0, 37.0, 1200.0})
            QTest::addRow("%g at %g cents", rate, cents)
                << rate << cents << (rate < 0.25 ? 30.0 : 50.0);
}

void TimePitchUnitTest::isInTuneAndInTime() {
    QFETCH(double, rate);
    QFETCH(double, cents);
    QFETCH(double, purityDb);
    const std::int64_t length =
        rate < 0.25 ? rateHz / 3 : std::int64_t(rateHz * std::max(0.6, rate));
    unit_->setRate(rate);
    unit_->setPitch(cents);
    const std::vector<float> made = run(*unit_, SyntheticFile::sine(rateHz, length, 440));
    const double seconds = double(made.size() / 2) / rateHz;
    QVERIFY(std::abs(seconds - double(length) / rateHz / rate) < 0.001);
    std::vector<float> mono = test::channelOf(made, 0);
    // What lies within half a window of the ends is not steady yet.
    const std::size_t edge = std::size_t(0.1 * rateHz / std::min(1.0, rate));
    const auto middle = std::span(mono).subspan(edge, mono.size() - 2 * edge);
    const double expected = 440 * std::exp2(cents / 1200);
    const test::Tone tone = test::measureTone(middle, rateHz, expected);
    QVERIFY2(std::abs(test::centsBetween(tone.hz, expected)) < 1,
             qPrintable(QStringLiteral("%1 Hz").arg(tone.hz)));
    QVERIFY2(tone.toResidualDb > purityDb,
             qPrintable(QStringLiteral("%1 dB").arg(tone.toResidualDb)));
    if (rate >= 0.25)
        QVERIFY(std::abs(tone.amplitude - 0.5) < 0.05);
}

void TimePitchUnitTest::leavesNormalSpeedAlone() {
    unit_->setRate(1);
    unit_->setPitch(0);
    const auto file = SyntheticFile::numbered(rateHz, 100'003);
    const std::vector<float> made = run(*unit_, file);
    QCOMPARE(std::int64_t(made.size() / 2), file->length());
    for (std::int64_t i = 0; i < file->length(); ++i)
        QVERIFY(std::pair(made[std::size_t(2 * i)], made[std::size_t(2 * i + 1)]) == file->at(i));
}

void TimePitchUnitTest::everyPartComesWhenItShould_data() {
    QTest::addColumn<double>("firstRate");
    QTest::addColumn<bool>("changing");
    QTest::addColumn<bool>("pitching");
    QTest::newRow("half") << 0.5 << false << false;
    QTest::newRow("double") << 2.0 << false << false;
    QTest::newRow("from normal, changing") << 1.0 << true << false;
    QTest::newRow("from slow, changing") << 0.4 << true << false;
    QTest::newRow("speed and pitch changing") << 0.8 << true << true;
}

void TimePitchUnitTest::everyPartComesWhenItShould() {
    QFETCH(double, firstRate);
    QFETCH(bool, changing);
    QFETCH(bool, pitching);
    constexpr std::int64_t apart = rateHz / 2;
    const auto file = bursts(rateHz * 12, apart);
    unit_->setRate(firstRate);
    unit_->setPitch(0);
    std::mt19937 random(7);
    std::vector<double> positions; // of every 64th frame made
    const std::vector<float> made = run(*unit_, file, [&](std::size_t frames) {
        positions.push_back(unit_->position());
        if (changing && frames % (64 * 70) == 0) {
            unit_->setRate(std::uniform_real_distribution(0.3, 2.0)(random));
            if (pitching)
                unit_->setPitch(std::uniform_real_distribution(-1200.0, 1200.0)(random));
        }
    });
    std::vector<float> mono = test::channelOf(made, 0);
    double worst = 0;
    for (std::int64_t place = apart / 2; place < file->length(); place += apart) {
        const auto at = [&](double input) {
            return 64 * std::size_t(std::lower_bound(positions.begin(), positions.end(), input) -
                                    positions.begin());
        };
        const double centre = test::centreOfEnergy(mono, at(double(place) - apart / 2.0),
                                                   at(double(place) + apart / 2.0));
        const double due = double(at(double(place)));
        worst = std::max(worst, std::abs(centre - due) / rateHz);
    }
    // An octave's jump moves what is inside the stretcher; that is made good over half a second.
    QVERIFY2(worst < (pitching ? 0.05 : 0.02),
             qPrintable(QStringLiteral("%1 ms").arg(worst * 1000)));
}

void TimePitchUnitTest::startsWithTheFirstFrame() {
    // Half a window of the stretcher is what an onset is spread over; no silence comes before it
    // and none is left at the end.
    for (const double rate : {0.3, 0.8, 2.5}) {
        unit_->setRate(rate);
        unit_->setPitch(0);
        const auto made =
            test::channelOf(run(*unit_, SyntheticFile::sine(rateHz, rateHz / 2, 500)), 0);
        const auto level = [&](std::size_t from) {
            return test::rms(std::span(made).subspan(from, 2048));
        };
        QVERIFY(level(0) > 0.4 * level(made.size() / 2));
        QVERIFY(level(made.size() - 2048) > 0.4 * level(made.size() / 2));
    }
}

void TimePitchUnitTest::goesInWithoutAStep_data() {
    QTest::addColumn<qint64>("atFrame");
    QTest::newRow("at once") << qint64(64);
    QTest::newRow("soon") << qint64(1920);
    QTest::newRow("later") << qint64(64 * 300);
}

void TimePitchUnitTest::goesInWithoutAStep() {
    QFETCH(qint64, atFrame);
    unit_->setRate(1);
    unit_->setPitch(0);
    const auto file = SyntheticFile::sine(rateHz, rateHz * 2, 440);
    const auto made = test::channelOf(run(*unit_, file,
                                          [&](std::size_t frames) {
                                              if (qint64(frames) == atFrame)
                                                  unit_->setRate(0.5);
                                          }),
                                      0);
    const auto before = test::sharpestBend(
        test::channelOf(run(*unit_, SyntheticFile::sine(rateHz, rateHz / 2, 440)), 0));
    QVERIFY(test::sharpestBend(std::span(made).first(rateHz)) < 1.3 * before);
    for (std::size_t i = 0; i + 882 < std::size_t(rateHz); i += 441) {
        const double level = test::rms(std::span(made).subspan(i, 882));
        QVERIFY2(std::abs(20 * std::log10(level / 0.35355)) < 1.0,
                 qPrintable(QStringLiteral("%1 at %2").arg(level).arg(i)));
    }
    // Heard within 60 ms: at half speed, the rest lasts twice as long from there on.
    const double ideal = double(atFrame) + 2 * double(file->length() - atFrame);
    QVERIFY2(double(made.size()) > ideal - 2 * 0.1 * rateHz && double(made.size()) <= ideal,
             qPrintable(QString::number((ideal - double(made.size())) / rateHz)));
}

void TimePitchUnitTest::bearsAnyNumber() {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [rate, cents] : std::vector<std::pair<double, double>>{
             {nan, nan}, {1e308, -1e308}, {-5, 1e308}, {0, 0}, {1e-300, 1200}}) {
        unit_->setRate(rate);
        unit_->setPitch(cents);
        const std::vector<float> made = run(*unit_, SyntheticFile::sine(rateHz, 3000, 440));
        QVERIFY(!made.empty() && made.size() / 2 <= 3000 * 20);
        QVERIFY(std::all_of(made.begin(), made.end(), [](float s) { return std::isfinite(s); }));
    }
}

QTEST_GUILESS_MAIN(TimePitchUnitTest)
#include "TimePitchUnitTest.moc"
