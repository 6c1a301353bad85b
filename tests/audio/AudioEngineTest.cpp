#include <future>
#include <limits>
#include <thread>

#include <QTest>

#include "audio/AudioEngine.h"
#include "audio/PlaybackModel.h"
#include "platform/desktop/MainQueue.h"
#include "support/ScriptedGraph.h"

using namespace ambrel;
using test::ScriptedGraph;
using test::SilentFile;

namespace {

class FakeModel : public PlaybackModel {
  public:
    bool loopEnabled() const override { return loop; }
    double regionStart() const override { return start; }
    double regionEnd() const override { return end; }
    std::int64_t loopDelaySeconds() const override { return delaySeconds; }
    std::int64_t loopDelayMilliseconds() const override { return delayMilliseconds; }
    void setPlaybackPosition(double seconds) override {
        writes << QStringLiteral("position %1").arg(seconds);
        if (onPosition)
            onPosition();
    }
    void setIsPlaying(bool playing) override {
        writes << QStringLiteral("playing %1").arg(playing);
    }

    bool loop = false;
    double start = 1.5;
    double end = 3.25;
    std::int64_t delaySeconds = 0;
    std::int64_t delayMilliseconds = 0;
    QStringList writes;
    std::function<void()> onPosition;
};

QUrl fileNamed(const QString& name) {
    return QUrl::fromLocalFile(QStringLiteral("/music/") + name);
}

/// How a load ended; shared with its coroutine.
struct Outcome {
    QString text = QStringLiteral("pending");
    std::shared_ptr<AudioFile> file;
};

QCoro::Task<> follow(std::shared_ptr<AudioEngine> engine, QUrl url, std::shared_ptr<Outcome> end) {
    auto loading = engine->load(url);
    engine.reset(); // the load alone must not keep the engine
    try {
        end->file = co_await loading;
        end->text = QStringLiteral("opened");
    } catch (const AudioFileError& error) {
        end->text = QString::fromUtf8(error.what());
    }
}

std::shared_ptr<Outcome> load(const std::shared_ptr<AudioEngine>& engine, const QUrl& url) {
    auto outcome = std::make_shared<Outcome>();
    follow(engine, url, outcome);
    return outcome;
}

} // namespace

class AudioEngineTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void startsWithTheEqualiserFlatAndBypassed();
    void playsTheFramesOfTheRegion_data();
    void playsTheFramesOfTheRegion();
    void ignoresBandsThatDoNotExist();
    void stopsAtTheRegionsEnd();
    void loopsFromTheRegionAsItIsAtTheEnd();
    void waitsForTheLoopDelay();
    void aStopDuringTheLoopDelayCancelsIt();
    void ignoresCompletionsOfEarlierSegments();
    void aCompletionMayArriveAfterEngineAndModel();
    void writesThePositionWhileItPlays();
    void aPositionObserverMayStopTheEngine();
    void aFailedLoadKeepsTheFileAndStops();
    void stopsWhatWasStartedWhileAFileOpened();

  private:
    void loadFile(int sampleRateHz = 44100);
    void playRegion() { engine_->play(model_->start, model_->end); }

    std::unique_ptr<MainQueue> queue_;
    std::shared_ptr<FakeModel> model_;
    std::shared_ptr<AudioEngine> engine_;
    ScriptedGraph* graph_ = nullptr;
};

void AudioEngineTest::init() {
    queue_ = std::make_unique<MainQueue>();
    model_ = std::make_shared<FakeModel>();
    auto graph = std::make_unique<ScriptedGraph>();
    graph_ = graph.get();
    engine_ = AudioEngine::create(std::move(graph), *queue_);
    engine_->setAppState(model_);
}

void AudioEngineTest::cleanup() {
    engine_.reset();
    model_.reset();
    queue_.reset();
}

void AudioEngineTest::loadFile(int sampleRateHz) {
    const QUrl url = fileNamed(QStringLiteral("a.wav"));
    graph_->whenOpened(url, [=] {
        return std::make_shared<SilentFile>("/music/a.wav", sampleRateHz, 10 * sampleRateHz);
    });
    const auto outcome = load(engine_, url);
    QTRY_COMPARE(outcome->text, QStringLiteral("opened"));
    graph_->takeCalls();
}

void AudioEngineTest::startsWithTheEqualiserFlatAndBypassed() {
    QVERIFY(graph_->bypass);
    QCOMPARE(graph_->bands, (QStringList{QStringLiteral("0: 60 Hz, 1 oct, 0 dB"),
                                         QStringLiteral("1: 250 Hz, 1 oct, 0 dB"),
                                         QStringLiteral("2: 1000 Hz, 1 oct, 0 dB"),
                                         QStringLiteral("3: 4000 Hz, 1 oct, 0 dB"),
                                         QStringLiteral("4: 12000 Hz, 1 oct, 0 dB")}));
    QVERIFY2(!graph_->isRunning(), "the sound device is left alone until something plays");
}

void AudioEngineTest::playsTheFramesOfTheRegion_data() {
    QTest::addColumn<int>("sampleRate");
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("end");
    QTest::addColumn<QString>("calls");
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const QString nothing;
    const QString onlyStops = QStringLiteral("stop");
    const auto plays = [](const char* segment) {
        return QStringLiteral("stop start schedule %1 play").arg(QLatin1String(segment));
    };
    QTest::newRow("a bar") << 44100 << 1.5 << 3.25 << plays("66150+77175");
    QTest::newRow("fractions of frames") << 1000 << 0.0019 << 0.0049 << plays("1+3");
    QTest::newRow("before the file") << 1000 << -0.0019 << 0.5 << plays("-1+501");
    QTest::newRow("longer than 32 bits") << 96000 << 0.0 << 60000.0 << plays("0+5760000000");
    QTest::newRow("empty") << 44100 << 2.0 << 2.0 << nothing;
    QTest::newRow("reversed") << 44100 << 3.0 << 2.0 << nothing;
    QTest::newRow("no start") << 44100 << nan << 2.0 << nothing;
    QTest::newRow("no end") << 44100 << 2.0 << nan << nothing;
    QTest::newRow("less than a frame") << 44100 << 2.0 << 2.000001 << onlyStops;
    QTest::newRow("beyond all numbers") << 44100 << 1e308 << 1.5e308 << onlyStops;
    QTest::newRow("all numbers") << 44100 << -infinity << infinity
                                 << plays("-2305843009213693952+4611686018427387904");
}

void AudioEngineTest::playsTheFramesOfTheRegion() {
    QFETCH(int, sampleRate);
    QFETCH(double, start);
    QFETCH(double, end);
    engine_->play(start, end);
    QVERIFY2(graph_->takeCalls().isEmpty(), "there is no file to play yet");
    loadFile(sampleRate);
    engine_->play(start, end);
    QTEST(graph_->takeCalls().join(QChar(u' ')), "calls");
}

void AudioEngineTest::ignoresBandsThatDoNotExist() {
    for (const int band : {-1, 5, std::numeric_limits<int>::max()})
        engine_->setEQGain(3, band);
    engine_->setEQGain(-4.5, 4);
    QCOMPARE(graph_->gains, (std::map<int, float>{{4, -4.5F}}));
}

void AudioEngineTest::stopsAtTheRegionsEnd() {
    loadFile();
    playRegion();
    std::thread(graph_->takeCompletion()).join();
    QVERIFY2(model_->writes.isEmpty(), "the model belongs to the main thread");
    const QStringList all{QStringLiteral("position 3.25"), QStringLiteral("playing 0"),
                          QStringLiteral("position 1.5")};
    QTRY_COMPARE(model_->writes, all);

    playRegion();
    graph_->takeCompletion()();
    model_->writes.clear();
    model_->onPosition = [this] {
        model_->onPosition = nullptr;
        playRegion(); // pressed between the end and the return to the start
    };
    QTRY_VERIFY(!model_->writes.isEmpty());
    QTest::qWait(0);
    QVERIFY(!model_->writes.contains(QStringLiteral("playing 0")));
}

void AudioEngineTest::loopsFromTheRegionAsItIsAtTheEnd() {
    loadFile();
    model_->loop = true;
    playRegion();
    graph_->takeCalls();
    const auto completion = graph_->takeCompletion();
    model_->start = 2;
    model_->end = 4;
    completion();
    QTRY_COMPARE(graph_->calls.join(QChar(u' ')), QStringLiteral("stop schedule 88200+88200 play"));
    QVERIFY2(model_->writes.isEmpty(), "the transport plays on");
}

void AudioEngineTest::waitsForTheLoopDelay() {
    loadFile();
    model_->loop = true;
    model_->delayMilliseconds = 120;
    playRegion();
    graph_->time = 77175;
    graph_->takeCalls();
    QElapsedTimer clock;
    clock.start();
    graph_->takeCompletion()();
    QTRY_VERIFY(model_->writes.contains(QStringLiteral("position 3.25")));
    model_->end = 4; // too late for the pass that waits
    QTRY_COMPARE(graph_->calls.join(QChar(u' ')), QStringLiteral("stop schedule 66150+77175 play"));
    QVERIFY2(clock.elapsed() >= 120, qPrintable(QString::number(clock.elapsed())));
}

void AudioEngineTest::aStopDuringTheLoopDelayCancelsIt() {
    loadFile();
    model_->loop = true;
    model_->delayMilliseconds = 1;
    playRegion();
    graph_->takeCompletion()();
    QTest::qWait(0); // the completion is handled, the pause begins
    engine_->stop();
    graph_->takeCalls();
    bool isPauseOver = false;
    queue_->asyncAfter(std::chrono::milliseconds(2), [&] { isPauseOver = true; });
    QTRY_VERIFY(isPauseOver);
    QCOMPARE(graph_->takeCalls(), QStringList());
}

void AudioEngineTest::ignoresCompletionsOfEarlierSegments() {
    loadFile();
    playRegion();
    const auto late = graph_->takeCompletion();
    playRegion();
    engine_->pause();
    playRegion(); // fires the paused one's
    graph_->takeCalls();
    late();
    bool isHandled = false;
    queue_->async([&] { isHandled = true; });
    QTRY_VERIFY(isHandled);
    QCOMPARE(graph_->takeCalls(), QStringList());
    QCOMPARE(model_->writes, QStringList());
}

void AudioEngineTest::aCompletionMayArriveAfterEngineAndModel() {
    loadFile();
    playRegion();
    auto completion = graph_->takeCompletion();
    model_.reset();
    completion();
    bool isHandled = false;
    queue_->async([&] { isHandled = true; });
    QTRY_VERIFY(isHandled);

    engine_->play(0, 1);
    completion = graph_->takeCompletion();
    engine_.reset();
    completion();
    isHandled = false;
    queue_->async([&] { isHandled = true; });
    QTRY_VERIFY(isHandled);
}

void AudioEngineTest::writesThePositionWhileItPlays() {
    loadFile(48000);
    playRegion();
    QTest::qWait(0);
    QVERIFY2(model_->writes.isEmpty(), "nothing is heard yet");
    graph_->time = 24000;
    QTRY_COMPARE(model_->writes, QStringList(QStringLiteral("position 2")));
    graph_->time = 240000;
    QTRY_COMPARE(model_->writes.value(1), QStringLiteral("position 3.25"));
    engine_->pause();
    model_->writes.clear();
    bool wouldHaveTicked = false;
    queue_->asyncAfter(std::chrono::milliseconds(60), [&] { wouldHaveTicked = true; });
    QTRY_VERIFY(wouldHaveTicked);
    QCOMPARE(model_->writes, QStringList());
}

void AudioEngineTest::aPositionObserverMayStopTheEngine() {
    loadFile();
    playRegion();
    graph_->time = 1;
    model_->onPosition = [this] { engine_->stop(); };
    QTRY_COMPARE(model_->writes.size(), 1);
    QCOMPARE(graph_->takeCalls().count(QStringLiteral("stop")), 2);
}

void AudioEngineTest::aFailedLoadKeepsTheFileAndStops() {
    loadFile();
    playRegion();
    const auto before = graph_->file;
    const auto outcome = load(engine_, fileNamed(QStringLiteral("gone.wav")));
    QCOMPARE(graph_->takeCalls().last(), QStringLiteral("stop"));
    QTRY_COMPARE(outcome->text, QStringLiteral("gone.wav is missing."));
    playRegion();
    QCOMPARE(graph_->file, before);
    QVERIFY2(!graph_->calls.contains(QStringLiteral("start")), "the device is started once");
}

void AudioEngineTest::stopsWhatWasStartedWhileAFileOpened() {
    loadFile();
    for (const bool opens : {false, true}) {
        std::promise<void> gate;
        const auto other = std::make_shared<SilentFile>("/music/b.wav", 8000, 80000);
        const QUrl url = fileNamed(QString::number(opens));
        graph_->whenOpened(url, [&]() -> std::shared_ptr<AudioFile> {
            gate.get_future().wait();
            if (!opens)
                throw AudioFileError(AudioFileError::Reason::unreadable, "broken");
            return other;
        });
        const auto outcome = load(engine_, url);
        playRegion();
        graph_->takeCalls();
        gate.set_value();
        QTRY_COMPARE(outcome->text, opens ? QStringLiteral("opened") : QStringLiteral("broken"));
        QCOMPARE(graph_->takeCalls(), QStringList(QStringLiteral("stop")));
        playRegion();
        QCOMPARE(graph_->file == other, opens);
    }
}

QTEST_GUILESS_MAIN(AudioEngineTest)
#include "AudioEngineTest.moc"
