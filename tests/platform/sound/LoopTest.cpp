#include <QTest>

#include <cmath>
#include <numbers>

#include "support/PulledGraph.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::PulledGraph;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;
constexpr std::int64_t fadeFrames = rateHz * 3 / 1000;
constexpr std::int64_t seamFrames = rateHz * 5 / 1000;

/// Frames between `from` and `to` that are not those of the file from `fileFrame` on.
int differing(const std::vector<float>& heard, std::int64_t from, std::int64_t to,
              const SyntheticFile& file, std::int64_t fileFrame) {
    int count = 0;
    for (std::int64_t i = from; i < to; ++i)
        count += heard[std::size_t(i)] != file.at(fileFrame + i - from).first;
    return count;
}

/// A click of one millisecond every `apart` frames from frame 0 on, over nothing.
std::shared_ptr<SyntheticFile> clicks(std::int64_t length, std::int64_t apart) {
    return std::make_shared<SyntheticFile>(rateHz, length, [apart](std::int64_t frame) {
        const std::int64_t at = frame % apart;
        const float value = at < 44 ? 0.5F * float(std::sin(0.4 * double(at))) : 0.0F;
        return std::pair(value, value);
    });
}

} // namespace

class LoopTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everyPassBeginsAtItsFrame_data() {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<double>("pause");
        QTest::addColumn<int>("passes");
        QTest::newRow("without a seam") << qint64(20011) << 0.0 << 30;
        QTest::newRow("short") << qint64(3001) << 0.0 << 100;
        QTest::newRow("with a pause") << qint64(20011) << 0.25 << 12;
        QTest::newRow("with a pause of no frame but one") << qint64(5000) << 1.0 / rateHz << 12;
        QTest::newRow("short, with a pause") << qint64(700) << 0.01 << 100;
    }
    void everyPassBeginsAtItsFrame() {
        QFETCH(qint64, count);
        QFETCH(double, pause);
        QFETCH(int, passes);
        const auto file = SyntheticFile::numbered(rateHz, 60000);
        loop_.play(file, 12345, count, Announcement{1, 12345, count, pause, passes - 1});
        const std::int64_t gap = std::llround(pause * rateHz);
        const std::int64_t total = passes * (count + gap) - gap;
        const std::vector<float> heard = loop_.pull(std::size_t(total + 1000));
        QCOMPARE(std::int64_t(heard.size()), total);
        const std::int64_t edge = gap > 0 ? fadeFrames : seamFrames;
        for (int pass = 0; pass < passes; ++pass) {
            const std::int64_t begin = pass * (count + gap);
            // The first frame of a pass without a pause before it is its own already.
            const std::int64_t first = pass == 0 || gap > 0 ? fadeFrames : 0;
            QCOMPARE(differing(heard, begin + first, begin + count - edge, *file, 12345 + first),
                     0);
            for (std::int64_t i = begin + count;
                 i < std::min<std::int64_t>(begin + count + gap, total); ++i)
                QCOMPARE(heard[std::size_t(i)], 0.0F);
        }
    }

    void aSteadyToneStaysSteady_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("cents");
        for (const double rate : {0.05, 0.5, 1.0, 3.0})
            QTest::addRow("%g", rate) << rate << 0.0;
        QTest::addRow("transposed") << 1.0 << -700.0;
    }
    void aSteadyToneStaysSteady() {
        QFETCH(double, rate);
        QFETCH(double, cents);
        // Whole periods of 441 Hz, so that what is looped is one tone without an end.
        const auto file = SyntheticFile::sine(rateHz, rateHz, 441);
        loop_.play(file, 4410, 8000, Announcement{1, 4410, 8000}, rate, cents);
        const std::vector<float> heard = loop_.pull(std::size_t(rate < 0.1 ? 6 : 2) * rateHz);
        const auto [quietest, loudest] =
            test::levelRange(std::span(heard).subspan(rateHz / 2), rateHz);
        QVERIFY2(quietest > -0.7 && loudest < 0.7,
                 qPrintable(QStringLiteral("%1 to %2 dB").arg(quietest).arg(loudest)));
        const double hz = 441 * std::exp2(cents / 1200);
        const double smooth = 0.5 * std::pow(2 * std::numbers::pi * hz / rateHz, 2);
        QCOMPARE_LT(test::sharpestBend(std::span(heard).subspan(rateHz / 2)), 1.3 * smooth);
    }

    void doesNotDrift_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<int>("deviceHz");
        QTest::newRow("half") << 0.5 << rateHz;
        QTest::newRow("one and a third") << 4 / 3.0 << rateHz;
        QTest::newRow("three") << 3.0 << rateHz;
        QTest::newRow("another device") << 1.0 << 48000;
    }
    void doesNotDrift() {
        QFETCH(double, rate);
        QFETCH(int, deviceHz);
        constexpr std::int64_t count = 4007;
        constexpr int passes = 60;
        PulledGraph& loop = deviceHz == rateHz ? loop_ : otherRate_;
        loop.play(clicks(60000, 60000), 0, count, Announcement{1, 0, count}, rate);
        const double perPass = double(count) / rateHz / rate * deviceHz;
        const std::vector<float> heard = loop.pull(std::size_t(perPass * passes));
        // Where the click's energy lies in each pass, beside where it lies in the tenth.
        const auto centre = [&](int pass) {
            const double begin = perPass * pass;
            double energy = 0, moment = 0;
            for (double at = -0.4 * perPass; at < 0.4 * perPass; ++at) {
                const double sample = heard[std::size_t(begin + at)];
                energy += sample * sample;
                moment += sample * sample * (std::floor(begin + at) - begin);
            }
            return moment / energy;
        };
        const double tenth = centre(10);
        for (int pass = 10; pass < passes - 1; ++pass)
            QCOMPARE_LT(std::abs(centre(pass) - tenth) / deviceHz, 0.003);
    }

    void whatFollowsMayChange_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<int>("before");
        for (const double rate : {1.0, 0.4})
            for (const int before : {15, 60, 300})
                QTest::addRow("%g, %d ms before", rate, before) << rate << before;
    }
    /// Whatever was announced, what is said last before the boundary is what follows.
    void whatFollowsMayChange() {
        QFETCH(double, rate);
        QFETCH(int, before);
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
            std::vector<float> heard = loop_.pull(passFrames - std::size_t(before) * rateHz / 1000);
            loop_.graph.announce(then);
            const std::vector<float> rest = loop_.pull(rateHz);
            heard.insert(heard.end(), rest.begin(), rest.end());
            const auto toneAt = [&](std::size_t from, double hz) {
                return test::measureTone(std::span(heard).subspan(from, 4410), rateHz, hz);
            };
            // The first pass is heard to its end all the same; the stretcher hears half a window
            // of what comes.
            const auto window = std::size_t(2048 / rate);
            QCOMPARE_GT(toneAt(passFrames - 4410 - window, 400).toResidualDb, 20.0);
            QCOMPARE_LT(test::sharpestBend(std::span(heard).subspan(4410)), 0.03);
            if (!then) {
                QCOMPARE_LT(std::abs(double(heard.size()) - double(passFrames)), 0.003 * rateHz);
                continue;
            }
            const std::size_t gap = std::size_t(then->pauseSeconds * rateHz);
            const double hz = then->startFrame == part ? 400 : 600;
            QCOMPARE_GT(toneAt(passFrames + gap + window, hz).toResidualDb, 20.0);
            for (std::size_t i = passFrames + 150; i + 150 < passFrames + gap; ++i)
                QCOMPARE(heard[i], 0.0F);
        }
    }

    /// A pass is a whole number of frames long; what that takes from it must not add up.
    void aPauseMakesUpForRounding() {
        constexpr int passes = 100;
        constexpr double rate = 2.5, pause = 0.02;
        constexpr std::int64_t count = 882;
        loop_.play(SyntheticFile::sine(rateHz, rateHz, 441), 4410, count,
                   Announcement{1, 4410, count, pause, passes - 1}, rate);
        const double expected = passes * count / rate + (passes - 1) * pause * rateHz;
        QCOMPARE_LT(std::abs(double(loop_.pull(2 * std::size_t(expected)).size()) - expected), 1.0);
    }

    void aTinyLoopRunsForEver() {
        const auto file = SyntheticFile::sine(rateHz, rateHz, 441);
        for (const float rate : {1.0F, 3.0F}) {
            loop_.play(file, 4410, 44, Announcement{1, 4410, 44}, rate);
            const std::vector<float> heard = loop_.pull(5 * rateHz);
            QCOMPARE(heard.size(), std::size_t(5 * rateHz));
            const auto [quietest, loudest] =
                test::levelRange(std::span(heard).subspan(rateHz), rateHz);
            QVERIFY(quietest > -1.5 && loudest < 1.5);
            loop_.graph.announce(std::nullopt);
            QVERIFY(loop_.pull(rateHz).size() < rateHz / 5);
        }
    }

    void comesBackToTheSoundItself() {
        const auto file = SyntheticFile::numbered(rateHz, 10 * rateHz);
        const auto soft = std::make_shared<SyntheticFile>(rateHz, 10 * rateHz, [file](auto frame) {
            const auto [left, right] = file->at(frame);
            const auto tone =
                float(0.3 * std::sin(0.05 * double(frame)) + 0.2 * std::sin(0.083 * double(frame)));
            return std::pair(tone + 0.001F * left, tone + 0.001F * right);
        });
        loop_.play(soft, 0, 8 * rateHz, std::nullopt);
        std::vector<float> heard = loop_.pull(rateHz);
        loop_.graph.setRate(0.75F);
        loop_.graph.setPitch(200);
        for (const std::size_t frames : {rateHz * 2, rateHz * 2}) {
            const std::vector<float> more = loop_.pull(frames);
            heard.insert(heard.end(), more.begin(), more.end());
            loop_.graph.setRate(1);
            loop_.graph.setPitch(0);
        }
        QCOMPARE_LT(test::sharpestBend(std::span(heard).subspan(1000)), 0.01);
        const auto [quietest, loudest] = test::levelRange(std::span(heard).subspan(4410), rateHz);
        QVERIFY2(quietest > -3 && loudest < 3,
                 qPrintable(QStringLiteral("%1 to %2 dB").arg(quietest).arg(loudest)));
        // The last frames are frames of the file, one after the other.
        std::int64_t at = 0;
        while (at < soft->length() && soft->at(at).first != heard[heard.size() - 4410])
            ++at;
        QCOMPARE(differing(heard, std::int64_t(heard.size()) - 4410, std::int64_t(heard.size()),
                           *soft, at),
                 0);
        const double ideal = rateHz + 0.75 * 2 * rateHz + 2 * rateHz - 4410;
        QCOMPARE_LT(std::abs(double(at) - ideal) / rateHz, 0.1);
    }

  private:
    PulledGraph loop_{rateHz};
    PulledGraph otherRate_{48000};
};

QTEST_GUILESS_MAIN(LoopTest)
#include "LoopTest.moc"
