#include <QTest>

#include <cstdlib>
#include <ctime>
#include <future>
#include <new>
#include <random>
#include <thread>

#include "platform/sound/AudioGraph.h"
#include "platform/sound/device/OfflineOutput.h"
#include "platform/sound/stretch/TimePitchUnit.h"
#include "support/ClockedOutput.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

using namespace ambrel;
using test::SyntheticFile;

namespace {

constexpr int rateHz = 44100;
constexpr std::int64_t fadeFrames = rateHz * 3 / 1000;

/// While it is set, no thread but the test's own is given any memory.
std::atomic<bool> isMemoryOut{false};
std::atomic<int> refusals{0};
const std::thread::id ownThread = std::this_thread::get_id();

/// A graph that is pulled, with the output to pull it by.
struct Offline {
    explicit Offline(int sampleRateHz = rateHz)
        : output(new OfflineOutput(sampleRateHz)),
          owned(AudioGraph::create(std::unique_ptr<AudioOutput>(output))), graph(*owned) {
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
    std::unique_ptr<AudioGraph> owned;
    AudioGraph& graph;
};

/// A graph on a device that runs by a clock.
struct Clocked {
    explicit Clocked(std::size_t request = 512, double speed = 1)
        : output(new test::ClockedOutput(rateHz, request, speed)),
          owned(AudioGraph::create(std::unique_ptr<AudioOutput>(output))), graph(*owned) {
        graph.start();
    }

    void play(
        const std::shared_ptr<AudioFile>& file, std::int64_t count,
        AudioGraph::Completion completion = [] {}) {
        graph.scheduleSegment(file, 0, count, std::move(completion));
        graph.play();
    }

    /// Frames before the first that is not silent.
    static std::size_t silenceBefore(const std::vector<float>& mono) {
        return std::size_t(std::find_if(mono.begin(), mono.end(), [](float s) { return s != 0; }) -
                           mono.begin());
    }

    std::vector<float> heard() const { return test::channelOf(output->frames(), 0); }
    bool isSilentFor(std::size_t frames) const {
        const std::vector<float> last = output->lastFrames(frames);
        return last.size() == 2 * frames && test::rms(last) == 0;
    }

    test::ClockedOutput* output;
    std::unique_ptr<AudioGraph> owned;
    AudioGraph& graph;
};

/// A device that is still opening when it is no longer wanted.
struct OpeningOutput final : AudioOutput {
    ~OpeningOutput() override { opening.join(); }
    void open(FrameSource& source) override {
        opening = std::thread([&source] { source.prepare(rateHz, 256); });
    }
    void start() override {}
    void stop() override {}
    std::int64_t framesHeard() const noexcept override { return 0; }

    std::thread opening;
};

} // namespace

void* operator new(std::size_t size) {
    const bool isRefused = isMemoryOut && std::this_thread::get_id() != ownThread;
    void* const memory = isRefused ? nullptr : std::malloc(size);
    refusals += isRefused;
    return memory ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

class AudioGraphTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void passesASegmentThroughUntouched();
    void convertsToTheDevicesRate();
    void changesAreHeardAtTheirFrame();
    void pausesAndStopsWithoutAClick();
    void everyCompletionComesOnce();
    void completesWhenTheLastFrameWasHeard();
    void tellsTheFrameBeingHeard();
    void goesOnWhenTheDeviceIsReplaced();
    void aFileThatBreaksOffEndsInSilence();
    void bearsAnyNumber();
    void bearsRunningOutOfMemory();
    void endsAtOnceWhileADeviceOpens();
};

void AudioGraphTest::passesASegmentThroughUntouched() {
    const auto file = SyntheticFile::numbered(rateHz, 60000);
    // Inside the file, all of it, from before it, beyond it, one frame and none.
    for (const auto& [start, count] : std::initializer_list<std::pair<std::int64_t, std::int64_t>>{
             {12345, 30001}, {0, 60000}, {-700, 5000}, {58000, 9000}, {100, 1}, {100, 0}}) {
        Offline offline;
        std::promise<void> completed;
        offline.graph.scheduleSegment(file, start, count, [&] { completed.set_value(); });
        offline.graph.play();
        const std::vector<float> heard = offline.pullAll();
        QCOMPARE(std::int64_t(heard.size() / 2), count);
        for (std::int64_t i = fadeFrames; i < count - fadeFrames; ++i) {
            const std::pair frame(heard[std::size_t(2 * i)], heard[std::size_t(2 * i + 1)]);
            QVERIFY2(frame == file->at(start + i),
                     qPrintable(QStringLiteral("from %1: frame %2").arg(start).arg(i)));
        }
        completed.get_future().get();
    }
}

void AudioGraphTest::convertsToTheDevicesRate() {
    Offline offline(48000);
    offline.graph.scheduleSegment(SyntheticFile::sine(rateHz, rateHz * 2, 1000), 0, rateHz * 2,
                                  [] {});
    offline.graph.play();
    const auto heard = test::channelOf(offline.pullAll(), 1);
    QCOMPARE(heard.size(), std::size_t(96000));
    const test::Tone tone =
        test::measureTone(std::span(heard).subspan(4800, 96000 - 9600), 48000, 1000);
    QVERIFY(std::abs(test::centsBetween(tone.hz, 1000)) < 0.01);
    QVERIFY2(tone.toResidualDb >= 100, qPrintable(QString::number(tone.toResidualDb)));
}

void AudioGraphTest::changesAreHeardAtTheirFrame() {
    // The equaliser has no delay: what it changes shows at the very frame of the call.
    const auto file = SyntheticFile::numbered(rateHz, 20000);
    Offline offline;
    offline.graph.setEqualiserBand(2, 1000, 1, 12);
    offline.graph.scheduleSegment(file, 0, 20000, [] {});
    offline.graph.play();
    std::vector<float> heard(2 * 20000);
    offline.output->pull(heard.data(), 7001);
    offline.graph.setEqualiserBypass(false);
    offline.output->pull(heard.data() + 2 * 7001, 20000 - 7001);
    for (std::int64_t i = fadeFrames; i < 7001; ++i)
        QCOMPARE(heard[std::size_t(2 * i)], file->at(i).first);
    QVERIFY(heard[2 * 7003] != file->at(7003).first);
}

void AudioGraphTest::pausesAndStopsWithoutAClick() {
    // At any place of the wave, in the middle of a stretch too, and the next segment at once.
    Clocked clocked;
    const auto file = SyntheticFile::sine(rateHz, rateHz * 60, 220);
    for (const float rate : {1.0F, 0.7F}) {
        clocked.graph.setRate(rate);
        for (int i = 0; i < 4; ++i) {
            clocked.play(file, file->length());
            for (const bool again : {true, false}) {
                const std::int64_t before = clocked.output->framesWritten();
                QTRY_VERIFY(clocked.output->framesWritten() > before + 5000 + i * 77);
                QTRY_VERIFY(!clocked.isSilentFor(2000));
                again ? clocked.graph.pause() : clocked.graph.stop();
                QTRY_VERIFY(!again || clocked.isSilentFor(4000));
                if (again)
                    clocked.graph.play();
            }
        }
    }
    QTRY_VERIFY(clocked.isSilentFor(4000));
    QVERIFY(test::sharpestBend(clocked.heard()) < 0.03);
}

void AudioGraphTest::everyCompletionComesOnce() {
    std::vector<std::atomic<int>> completions(120);
    std::mt19937 random(11);
    {
        Clocked clocked(256, 4);
        const auto file = SyntheticFile::sine(rateHz, rateHz, 300);
        for (std::atomic<int>& count : std::span(completions).first(119)) {
            clocked.graph.setRate(random() % 2 ? 1.0F : 2.5F);
            clocked.play(file, std::int64_t(random() % 3000), [&count] { ++count; });
            const bool paused = random() % 3 == 0;
            if (paused)
                clocked.graph.pause();
            if (paused && random() % 2)
                clocked.graph.play();
            else if (!paused && random() % 3 == 0)
                QTRY_COMPARE_WITH_TIMEOUT(count.load(), 1, 30000);
            if (random() % 2)
                clocked.graph.stop();
        }
        // The last one comes while the graph ends, which can be asked until then.
        clocked.play(file, 3000, [&] {
            clocked.graph.playerTime();
            ++completions.back();
        });
    }
    for (const std::atomic<int>& count : completions)
        QCOMPARE(count.load(), 1);
}

void AudioGraphTest::completesWhenTheLastFrameWasHeard() {
    Clocked clocked(512, 1);
    constexpr std::int64_t count = 9000;
    std::promise<std::int64_t> heardAtEnd;
    clocked.play(SyntheticFile::numbered(rateHz, count), count,
                 [&] { heardAtEnd.set_value(clocked.output->framesHeard()); });
    const std::int64_t heard = heardAtEnd.get_future().get();
    const auto begin = std::int64_t(Clocked::silenceBefore(clocked.heard()));
    QVERIFY(heard >= begin + count - 1);
    QCOMPARE(clocked.graph.playerTime(), std::optional<double>(count));
}

void AudioGraphTest::tellsTheFrameBeingHeard() {
    Clocked clocked(512, 1);
    QVERIFY(!clocked.graph.playerTime());
    const auto file = SyntheticFile::numbered(rateHz, rateHz * 30);
    clocked.play(file, file->length());
    QVERIFY(clocked.graph.playerTime().value_or(0) < 1024);
    QTRY_VERIFY(clocked.graph.playerTime().value_or(0) > 4000);
    // The frame it tells is the one that the device is giving at that moment.
    int looked = 0;
    int right = 0;
    double last = 0;
    while (looked < 100) {
        const std::int64_t heard = clocked.output->framesHeard();
        const double now = clocked.graph.playerTime().value();
        QVERIFY(now >= last);
        last = now;
        if (clocked.output->framesHeard() != heard)
            continue;
        ++looked;
        right += clocked.output->leftAt(heard - 1) == file->at(std::int64_t(now) - 1).first;
    }
    QVERIFY2(right > 90, qPrintable(QString::number(right)));
    clocked.graph.stop();
    QVERIFY(!clocked.graph.playerTime());
}

void AudioGraphTest::goesOnWhenTheDeviceIsReplaced() {
    Clocked clocked(512, 4);
    std::promise<void> completed;
    const auto file = SyntheticFile::sine(rateHz, rateHz * 2, 441);
    clocked.play(file, file->length(), [&] { completed.set_value(); });
    QTRY_VERIFY(clocked.graph.playerTime().value_or(0) > 20000);
    const double before = clocked.graph.playerTime().value();
    clocked.output->replaceDevice(48000, 700);
    QTRY_VERIFY(clocked.graph.playerTime().value_or(0) > before + 10000);
    completed.get_future().get();
    QCOMPARE(clocked.graph.playerTime(), std::optional<double>(double(file->length())));
    const std::vector<float> heard = clocked.heard();
    QVERIFY(std::count_if(heard.begin(), heard.end(), [](float s) { return s != 0; }) > 85000);

    // What has ended stays silent, whatever device comes and whatever is announced then.
    clocked.output->replaceDevice(44100, 700);
    clocked.graph.announce(Announcement{1, 0, 4410});
    const std::size_t then = clocked.heard().size();
    QTRY_VERIFY(clocked.heard().size() > then + 20000);
    QVERIFY(clocked.isSilentFor(15000));
}

void AudioGraphTest::aFileThatBreaksOffEndsInSilence() {
    const auto file = SyntheticFile::numbered(rateHz, 50000);
    file->brokenFrom = 20000;
    Offline offline;
    offline.graph.scheduleSegment(file, 1000, 40000, [] {});
    offline.graph.play();
    const auto heard = test::channelOf(offline.pullAll(), 0);
    QCOMPARE(heard.size(), std::size_t(40000));
    QCOMPARE(heard[18999], file->at(19999).first);
    QCOMPARE(test::rms(std::span(heard).subspan(19000)), 0.0);
}

void AudioGraphTest::endsAtOnceWhileADeviceOpens() {
    const std::clock_t began = std::clock(); // of processor time, however busy the machine is
    { const TimePitchUnit warmedUp(rateHz); }
    const std::clock_t whole = std::clock() - began;
    AudioGraph::create(std::make_unique<OpeningOutput>());
    QCOMPARE_LT(std::clock() - began - whole, whole / 3);
}

void AudioGraphTest::bearsAnyNumber() {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const auto file = std::make_shared<SyntheticFile>(rateHz, 8000, [nan](std::int64_t frame) {
        return frame % 1000 == 0 ? std::pair(nan, 1e38F) : std::pair(0.1F, -INFINITY);
    });
    Offline offline;
    for (const float value : {nan, 1e38F, -1e38F, -1.0F}) {
        offline.graph.setRate(value);
        offline.graph.setPitch(value);
        offline.graph.setEqualiserBypass(false);
        for (int band = -2; band < 7; ++band) {
            offline.graph.setEqualiserBand(band, value, value, value);
            offline.graph.setEqualiserGain(band, value);
        }
        offline.graph.scheduleSegment(file, -50, 8100, [] {});
        offline.graph.play();
        const std::vector<float> heard = offline.pullAll();
        QVERIFY(std::all_of(heard.begin(), heard.end(), [](float s) { return std::isfinite(s); }));
    }
}

void AudioGraphTest::bearsRunningOutOfMemory() {
    const auto file = SyntheticFile::sine(rateHz, rateHz / 2, 440);
    std::atomic<int> completions{0};
    isMemoryOut = true;
    const auto owned =
        AudioGraph::create(std::make_unique<test::ClockedOutput>(rateHz, rateHz / 100, 1));
    AudioGraph& graph = *owned;
    graph.start();
    QTRY_VERIFY(refusals > 0); // what renders cannot be made; later, no segment can be read
    for (const bool isOut : {false, true, true, false}) {
        isMemoryOut = isOut;
        const int before = completions;
        graph.scheduleSegment(file, 0, file->length(), [&] {
            ++completions;
            throw std::bad_alloc();
        });
        graph.play();
        QTRY_COMPARE(completions.load(), before + 1);
        QVERIFY(isOut || graph.playerTime() == double(file->length()));
    }
}

QTEST_GUILESS_MAIN(AudioGraphTest)
#include "AudioGraphTest.moc"
