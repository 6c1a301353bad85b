#include <QtTest>

#include <future>

#include "platform/sound/AudioGraph.h"
#include "platform/sound/OfflineOutput.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;
constexpr std::int64_t fadeFrames = rateHz * 3 / 1000;

/// A graph that is pulled, with the output to pull it by.
struct Offline {
    explicit Offline(int sampleRateHz = rateHz)
        : output(new OfflineOutput(sampleRateHz)), graph(std::unique_ptr<AudioOutput>(output)) {
        graph.start();
    }

    std::vector<float> pullAll(std::size_t block = 500) {
        std::vector<float> heard;
        for (;;) {
            heard.resize(heard.size() + 2 * block);
            const std::size_t got = output->pull(heard.data() + heard.size() - 2 * block, block);
            heard.resize(heard.size() - 2 * (block - got));
            if (got < block)
                return heard;
        }
    }

    OfflineOutput* output;
    AudioGraph graph;
};

} // namespace

class AudioGraphTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void passesASegmentThroughUntouched_data();
    void passesASegmentThroughUntouched();
    void equalCallsGiveEqualFrames();
};

void AudioGraphTest::passesASegmentThroughUntouched_data() {
    QTest::addColumn<qint64>("start");
    QTest::addColumn<qint64>("count");
    QTest::newRow("inside") << qint64(12345) << qint64(30001);
    QTest::newRow("whole") << qint64(0) << qint64(60000);
    QTest::newRow("before the file") << qint64(-700) << qint64(5000);
    QTest::newRow("behind the file") << qint64(58000) << qint64(9000);
    QTest::newRow("one frame") << qint64(100) << qint64(1);
    QTest::newRow("none") << qint64(100) << qint64(0);
}

void AudioGraphTest::passesASegmentThroughUntouched() {
    QFETCH(qint64, start);
    QFETCH(qint64, count);
    const auto file = SyntheticFile::numbered(rateHz, 60000);
    Offline offline;
    std::promise<void> completed;
    offline.graph.scheduleSegment(file, start, count, [&] { completed.set_value(); });
    offline.graph.play();
    const std::vector<float> heard = offline.pullAll();
    QCOMPARE(qint64(heard.size() / 2), count);
    for (std::int64_t i = fadeFrames; i < count - fadeFrames; ++i) {
        const auto [left, right] = file->at(start + i);
        if (heard[std::size_t(2 * i)] != left || heard[std::size_t(2 * i + 1)] != right)
            QFAIL(qPrintable(QStringLiteral("frame %1 differs").arg(i)));
    }
    completed.get_future().get();
}

void AudioGraphTest::equalCallsGiveEqualFrames() {
    const auto render = [] {
        Offline offline;
        offline.graph.setRate(0.8F);
        offline.graph.scheduleSegment(SyntheticFile::sine(rateHz, 60000, 440), 0, 60000, [] {});
        offline.graph.play();
        std::vector<float> heard(2 * 7777);
        offline.output->pull(heard.data(), 7777);
        offline.graph.setPitch(300);
        offline.graph.setRate(1.7F);
        const std::vector<float> rest = offline.pullAll();
        heard.insert(heard.end(), rest.begin(), rest.end());
        return heard;
    };
    QCOMPARE(render(), render());
}

QTEST_GUILESS_MAIN(AudioGraphTest)
#include "AudioGraphTest.moc"
