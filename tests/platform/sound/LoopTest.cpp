#include <QTest>

#include <cmath>
#include <numbers>

#include "support/PulledGraph.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::PulledGraph;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;
constexpr std::int64_t fadeFrames = rateHz * 3 / 1000;
constexpr std::int64_t crossfadeFrames = rateHz * 5 / 1000;

} // namespace

/// What is played, frame by frame, once or in a loop.
class LoopTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everyPassIsTheFilesFrames_data() {
        QTest::addColumn<qint64>("start");
        QTest::addColumn<qint64>("count");
        QTest::addColumn<double>("pause");
        QTest::addColumn<int>("passes");
        QTest::newRow("once, all") << qint64(0) << qint64(60000) << 0.0 << 1;
        QTest::newRow("once, from before the file") << qint64(-700) << qint64(5000) << 0.0 << 1;
        QTest::newRow("once, beyond what decodes") << qint64(53000) << qint64(9000) << 0.0 << 1;
        QTest::newRow("once, one frame") << qint64(100) << qint64(1) << 0.0 << 1;
        QTest::newRow("once, none") << qint64(100) << qint64(0) << 0.0 << 1;
        QTest::newRow("without a pause") << qint64(12345) << qint64(20011) << 0.0 << 12;
        QTest::newRow("short") << qint64(12345) << qint64(3001) << 0.0 << 100;
        QTest::newRow("with a pause") << qint64(12345) << qint64(20011) << 0.25 << 12;
        QTest::newRow("a pause of one frame") << qint64(12345) << qint64(5000) << 1.0 / rateHz << 9;
        QTest::newRow("short, with a pause") << qint64(12345) << qint64(700) << 0.01 << 100;
    }
    void everyPassIsTheFilesFrames() {
        QFETCH(qint64, start);
        QFETCH(qint64, count);
        QFETCH(double, pause);
        QFETCH(int, passes);
        const auto file = SyntheticFile::numbered(rateHz, 60000);
        file->brokenFrom = 59000;
        std::optional<Announcement> next;
        if (passes > 1)
            next = Announcement{1, start, count, pause, passes - 1};
        loop_.graph.setEqualiserBypass(false); // it is at 0 dB
        loop_.play(file, start, count, next);
        const std::int64_t gap = std::llround(pause * rateHz);
        const std::int64_t total = passes * (count + gap) - gap;
        const std::vector<float> heard = loop_.pullStereo(std::size_t(total + 1000));
        QCOMPARE(std::int64_t(heard.size() / 2), total);
        for (int pass = 0; pass < passes; ++pass) {
            const std::int64_t begin = pass * (count + gap);
            // The first frame of a pass without a pause before it is its own already.
            const std::int64_t first = pass == 0 || gap > 0 ? fadeFrames : 0;
            const std::int64_t end =
                count - (gap > 0 || pass == passes - 1 ? fadeFrames : crossfadeFrames);
            const std::int64_t nextBegin = std::min<std::int64_t>(begin + count + gap, total);
            std::int64_t different = 0;
            const auto at = [&](std::int64_t frame) {
                return std::pair(heard[std::size_t(2 * frame)], heard[std::size_t(2 * frame + 1)]);
            };
            for (std::int64_t i = first; i < end; ++i)
                different += at(begin + i) != file->at(start + i);
            for (std::int64_t i = begin + count; i < nextBegin; ++i)
                different += at(i) != std::pair(0.0F, 0.0F);
            QCOMPARE(different, 0);
        }
    }

    /// What is looped is whole periods of a tone, so one tone without an end.
    void aSteadyToneStaysSteady_data() {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("cents");
        QTest::addColumn<double>("mostDb");
        for (const double rate : {0.05, 0.5, 1.0, 3.0})
            QTest::addRow("%g", rate) << qint64(8000) << rate << 0.0 << 0.7;
        QTest::addRow("transposed") << qint64(8000) << 1.0 << -700.0 << 0.7;
        for (const double rate : {1.0, 3.0})
            QTest::addRow("passes of 1 ms, %g", rate) << qint64(44) << rate << 0.0 << 1.5;
    }
    void aSteadyToneStaysSteady() {
        QFETCH(qint64, count);
        QFETCH(double, rate);
        QFETCH(double, cents);
        QFETCH(double, mostDb);
        const double periods = std::max(1.0, std::round(0.01 * double(count)));
        const double hz = periods * rateHz / double(count);
        loop_.play(SyntheticFile::sine(rateHz, rateHz, hz), 4410, count,
                   Announcement{1, 4410, count}, rate, cents);
        const auto heard = loop_.pull(std::size_t(rate < 0.1 ? 6 : 2) * rateHz);
        const auto steady = std::span(heard).subspan(rateHz / 2);
        const auto [quietest, loudest] = test::levelRange(steady, rateHz);
        QCOMPARE_GT(quietest, -mostDb);
        QCOMPARE_LT(loudest, mostDb);
        const double turn = 2 * std::numbers::pi * hz * std::exp2(cents / 1200) / rateHz;
        QCOMPARE_LT(test::largestBend(steady), 1.3 * 0.5 * turn * turn);
        loop_.graph.announce(std::nullopt);
        QCOMPARE_LT(double(loop_.pull(6 * rateHz).size()), double(count) / rate + rateHz / 5);
    }

    void whatFollowsMayChange_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<int>("beforeMs");
        for (const int beforeMs : {15, 60, 300})
            QTest::addRow("%d ms before", beforeMs) << 1.0 << beforeMs;
        for (const int beforeMs : {15, 60})
            QTest::addRow("%d ms before, slowly", beforeMs) << 0.4 << beforeMs;
    }
    /// Whatever was announced, what is said last before the boundary is what follows.
    void whatFollowsMayChange() {
        QFETCH(double, rate);
        QFETCH(int, beforeMs);
        // A tone of its own in each part, so that it is known what is heard.
        constexpr std::int64_t part = rateHz / 2;
        const auto tones = std::make_shared<SyntheticFile>(rateHz, 8 * part, [](auto frame) {
            const double hz = 300.0 + 100 * double(frame / part);
            const float value =
                0.5F * float(std::sin(2 * std::numbers::pi * hz * double(frame) / rateHz));
            return std::pair(value, value);
        });
        using Next = std::optional<Announcement>;
        const Next none, same = Announcement{1, part, part},
                         other = Announcement{2, 3 * part, part},
                         paused = Announcement{3, 3 * part, part, 0.1};
        for (const auto& [first, then] : std::vector<std::pair<Next, Next>>{
                 {none, same}, {same, none}, {same, other}, {other, paused}, {paused, same}}) {
            loop_.play(tones, part, part, first, rate);
            const auto passFrames = std::size_t(part / rate);
            auto heard = loop_.pull(passFrames - std::size_t(beforeMs) * rateHz / 1000);
            loop_.graph.announce(then);
            const std::vector<float> rest = loop_.pull(rateHz * 2 / 3);
            heard.insert(heard.end(), rest.begin(), rest.end());
            const auto purity = [&](std::size_t from, double hz) {
                const auto some = std::span(heard).subspan(from, 4410);
                return test::measureTone(some, rateHz, hz).toResidualDb;
            };
            // The first pass is heard to its end all the same; the stretcher hears half a window
            // of what comes.
            const auto window = std::size_t(2048 / rate);
            QCOMPARE_GT(purity(passFrames - 4410 - window, 400), 20.0);
            QCOMPARE_LT(test::largestBend(std::span(heard).subspan(4410)), 0.04);
            if (!then) {
                QCOMPARE_LT(std::abs(double(heard.size()) - double(passFrames)), 0.003 * rateHz);
                continue;
            }
            const std::size_t gap = std::size_t(then->pauseSeconds * rateHz);
            QCOMPARE_GT(purity(passFrames + gap + window, then->startFrame == part ? 400 : 600),
                        20.0);
            for (std::size_t i = passFrames + 150; i + 150 < passFrames + gap; ++i)
                QCOMPARE(heard[i], 0.0F);
        }
    }

    /// A pass is a whole number of frames long; what that takes from it must not add up.
    void passesDoNotDrift() {
        struct Case {
            double rate, pause;
            int deviceHz;
        };
        constexpr int passes = 40;
        constexpr std::int64_t count = 4007;
        const auto click = std::make_shared<SyntheticFile>(rateHz, 60000, [](std::int64_t frame) {
            const double since = double(frame % count) - count / 2.0;
            const auto value = float(0.5 * std::exp(-since * since / 400) * std::sin(0.4 * since));
            return std::pair(value, value);
        });
        for (const auto& [rate, pause, deviceHz] :
             {Case{0.5, 0, rateHz}, Case{3, 0, rateHz}, Case{1, 0, 48000}, Case{2.5, 0.02, rateHz},
              Case{0.7, 0.01, 32000}}) {
            PulledGraph device(deviceHz);
            device.play(click, count, count, Announcement{1, count, count, pause, passes - 1},
                        rate);
            const double perPass = (double(count) / rate / rateHz + pause) * deviceHz;
            const auto heard = device.pull(std::size_t(perPass * (passes + 1)));
            QCOMPARE_LT(std::abs(double(heard.size()) + pause * deviceHz - passes * perPass), 1.0);
            // Where the click's energy lies in ten passes, in frames.
            const auto centre = [&, perPass = perPass](int firstPass) {
                double sum = 0;
                for (int pass = firstPass; pass < firstPass + 10; ++pass) {
                    double energy = 0, moment = 0;
                    for (double at = 0.1 * perPass; at < 0.9 * perPass; ++at) {
                        const auto frame = std::size_t(pass * perPass + at);
                        const double power = double(heard[frame]) * heard[frame];
                        energy += power;
                        moment += power * (double(frame) - pass * perPass);
                    }
                    sum += moment / energy / 10;
                }
                return sum;
            };
            QCOMPARE_LT(std::abs(centre(passes - 11) - centre(5)) / deviceHz, 0.003);
        }
    }

  private:
    PulledGraph loop_{rateHz};
};

QTEST_GUILESS_MAIN(LoopTest)
#include "LoopTest.moc"
