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
    std::shared_ptr<void> observeLoop(std::function<void()> notify) override {
        loopChanged = std::move(notify);
        return std::make_shared<int>();
    }
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
    std::function<void()> loopChanged;
};

QUrl fileNamed(const QString& name) {
    return QUrl::fromLocalFile(QStringLiteral("/music/") + name);
}

/// How a load ended. The load alone must not keep the engine.
QCoro::Task<> follow(std::shared_ptr<AudioEngine> engine, QUrl url, std::shared_ptr<QString> end) {
    auto loading = engine->load(url);
    engine.reset();
    try {
        co_await loading;
        *end = QStringLiteral("opened");
    } catch (const AudioFileError& error) {
        *end = QString::fromUtf8(error.what());
    }
}

std::shared_ptr<QString> load(const std::shared_ptr<AudioEngine>& engine, const QString& name) {
    auto end = std::make_shared<QString>();
    follow(engine, fileNamed(name), end);
    return end;
}

} // namespace

class AudioEngineTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        queue_ = std::make_unique<MainQueue>();
        model_ = std::make_shared<FakeModel>();
        auto graph = std::make_unique<ScriptedGraph>();
        graph_ = graph.get();
        engine_ = AudioEngine::create(std::move(graph), *queue_,
                                      [this](const QUrl& url) { return graph_->open(url); });
        engine_->setAppState(model_);
    }
    void cleanup() {
        engine_.reset();
        model_.reset();
        queue_.reset();
    }

    void startsWithTheEqualiserFlatAndBypassed() {
        QVERIFY(graph_->bypass);
        QCOMPARE(graph_->bands, (QStringList{QStringLiteral("0: 60 Hz, 1 oct, 0 dB"),
                                             QStringLiteral("1: 250 Hz, 1 oct, 0 dB"),
                                             QStringLiteral("2: 1000 Hz, 1 oct, 0 dB"),
                                             QStringLiteral("3: 4000 Hz, 1 oct, 0 dB"),
                                             QStringLiteral("4: 12000 Hz, 1 oct, 0 dB")}));
        QVERIFY2(!graph_->isRunning(), "the sound device is left alone until something plays");
        for (const int band : {-1, 5, std::numeric_limits<int>::max()})
            engine_->setEQGain(3, band);
        engine_->setEQGain(-4.5, 4);
        QCOMPARE(graph_->gains, (std::map<int, float>{{4, -4.5F}}));
    }

    void playsTheFramesOfTheRegion() {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        constexpr double infinity = std::numeric_limits<double>::infinity();
        struct Case {
            int sampleRateHz;
            double start, end;
            const char* calls;
        };
        for (const Case& c : {
                 Case{44100, 1.5, 3.25, "stop start schedule 66150+77175 play"},
                 Case{1000, 0.0019, 0.0049, "stop schedule 1+3 play"}, // fractions of frames
                 Case{1000, -0.0019, 0.5, "stop schedule -1+501 play"},
                 Case{96000, 0, 60000, "stop schedule 0+5760000000 play"}, // beyond 32 bits
                 Case{44100, 2, 2, ""},
                 Case{44100, 3, 2, ""},
                 Case{44100, nan, 2, ""},
                 Case{44100, 2, nan, ""},
                 Case{44100, 2, 2.000001, "stop"}, // less than a frame
                 Case{44100, 1e308, 1.5e308, "stop"},
                 Case{44100, -infinity, infinity,
                      "stop schedule -281474976710656+562949953421312 play"},
             }) {
            if (!graph_->isRunning()) {
                engine_->play(c.start, c.end);
                QVERIFY2(graph_->takeCalls().isEmpty(), "there is no file to play yet");
            }
            loadFile(c.sampleRateHz);
            engine_->play(c.start, c.end);
            QCOMPARE(takeCalls(), QString::fromLatin1(c.calls));
        }
    }

    void stopsAtTheRegionsEnd() {
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

    void loopsFromTheRegionAsItIsAtTheEnd() {
        loadFile();
        model_->loop = true;
        playRegion();
        graph_->takeCalls();
        const auto completion = graph_->takeCompletion();
        model_->start = 2;
        model_->end = 4;
        completion();
        QTRY_COMPARE(graph_->calls.join(u' '), QStringLiteral("stop schedule 88200+88200 play"));
        QVERIFY2(model_->writes.isEmpty(), "the transport plays on");
    }

    void waitsForTheLoopDelay() {
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
        QTRY_COMPARE(graph_->calls.join(u' '), QStringLiteral("stop schedule 66150+77175 play"));
        QVERIFY2(clock.elapsed() >= 120, qPrintable(QString::number(clock.elapsed())));

        model_->delayMilliseconds = 1;
        graph_->takeCompletion()();
        QTest::qWait(0); // the completion is handled, the pause begins
        engine_->stop();
        graph_->takeCalls();
        handleAll(std::chrono::milliseconds(2));
        QVERIFY2(takeCalls().isEmpty(), "a stop ends the pause as well");
    }

    /// Whatever was about to follow: the end's two steps, the next pass, or its pause.
    void pauseHolds() {
        struct Case {
            bool loop;
            int delayMilliseconds;
            bool isHandled; ///< the completion, when the pause comes
        };
        for (const Case& c : {Case{false, 0, false}, Case{true, 0, false}, Case{true, 5, false},
                              Case{true, 5, true}}) {
            loadFile();
            model_->loop = c.loop;
            model_->delayMilliseconds = c.delayMilliseconds;
            playRegion();
            graph_->running = idAnnounced();
            graph_->takeCompletion()();
            if (c.isHandled)
                QTest::qWait(0);
            engine_->pause();
            model_->writes.clear();
            graph_->takeCalls();
            handleAll(std::chrono::milliseconds(6));
            QCOMPARE(takeCalls(), QString());
            QCOMPARE(model_->writes, QStringList());
            engine_->stop();
        }
    }

    void aLoopEndsWithAnEmptyRegion() {
        loadFile();
        model_->loop = true;
        playRegion();
        graph_->takeCalls();
        model_->end = model_->start;
        graph_->takeCompletion()();
        QTRY_COMPARE(model_->writes,
                     (QStringList{QStringLiteral("playing 0"), QStringLiteral("position 1.5")}));
        QCOMPARE(takeCalls(), QStringLiteral("stop"));
    }

    void announcesWhatFollowsOnce() {
        loadFile();
        model_->loop = true;
        playRegion();
        const auto first = graph_->following;
        QCOMPARE(first, (Announcement{idAnnounced(), 66150, 77175}));
        model_->loopChanged();
        QCOMPARE(graph_->following, first); // which is the same
        model_->start = 2;
        model_->delaySeconds = 1;
        model_->delayMilliseconds = 500;
        model_->loopChanged();
        QCOMPARE(graph_->following, (Announcement{idAnnounced(), 88200, 55125, 1.5}));
        QVERIFY(idAnnounced() != first->id);
        for (const double nothing : {2.0, std::numeric_limits<double>::quiet_NaN()}) {
            model_->end = nothing;
            model_->loopChanged();
            QVERIFY(!graph_->following);
        }
        model_->end = 3;
        model_->loop = false;
        model_->loopChanged();
        QVERIFY(!graph_->following);
    }

    /// At a pass's end, what runs on is adopted if it is what the region says by then.
    void adoptsWhatRunsOn() {
        struct Case {
            bool loop;
            int delayMilliseconds;
            int running; ///< 1: what was announced; 2: something else; 0: nothing
            const char* calls;
        };
        for (const Case& c :
             {Case{true, 0, 1, "adopt"}, Case{true, 0, 2, "stop schedule 66150+77175 play"},
              Case{true, 20, 1, "adopt"}, Case{true, 20, 2, "stop stop schedule 66150+77175 play"},
              Case{false, 0, 2, "stop"}, Case{false, 0, 0, ""}}) {
            loadFile();
            model_->loop = c.loop;
            model_->delayMilliseconds = c.delayMilliseconds;
            playRegion();
            graph_->takeCalls();
            if (c.running > 0)
                graph_->running = idAnnounced() + c.running - 1;
            graph_->takeCompletion()();
            QTRY_COMPARE(graph_->calls.join(u' '), QString::fromLatin1(c.calls));
            handleAll();
            engine_->stop();
        }
    }

    void anAdoptedPassEndsLikeAnyOther() {
        loadFile();
        model_->loop = true;
        playRegion();
        const auto first = graph_->takeCompletion();
        graph_->running = idAnnounced();
        first();
        QTRY_COMPARE(graph_->calls.last(), QStringLiteral("adopt"));
        graph_->time = 4410; // counts in the new pass
        QTRY_COMPARE(model_->writes.value(0), QStringLiteral("position 1.6"));
        model_->loop = false;
        first(); // stale by now
        handleAll();
        QVERIFY(!model_->writes.contains(QStringLiteral("playing 0")));
        graph_->takeCompletion()();
        QTRY_VERIFY(model_->writes.contains(QStringLiteral("playing 0")));
    }

    void ignoresCompletionsOfEarlierSegments() {
        loadFile();
        playRegion();
        const auto late = graph_->takeCompletion();
        playRegion();
        engine_->pause();
        playRegion(); // fires the paused one's
        graph_->takeCalls();
        late();
        handleAll();
        QCOMPARE(takeCalls(), QString());
        QCOMPARE(model_->writes, QStringList());
    }

    void aCompletionMayArriveAfterModelAndEngine() {
        loadFile();
        playRegion();
        auto completion = graph_->takeCompletion();
        model_.reset();
        completion();
        handleAll();
        engine_->play(0, 1);
        completion = graph_->takeCompletion();
        engine_.reset();
        completion();
        handleAll();
    }

    void writesThePositionWhileItPlays() {
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
        handleAll(std::chrono::milliseconds(60));
        QVERIFY2(model_->writes.isEmpty(), "it ticks on");

        playRegion();
        graph_->takeCalls();
        model_->onPosition = [this] { engine_->stop(); };
        QTRY_COMPARE(model_->writes.size(), 1);
        QCOMPARE(takeCalls(), QStringLiteral("stop"));
    }

    void aLoadStopsWhatPlaysAndKeepsTheFileWhenItFails() {
        loadFile();
        for (const bool opens : {false, true}) {
            std::promise<void> gate;
            const auto other = std::make_shared<SilentFile>("/music/b.wav", 8000, 80000);
            const QString name = QString::number(opens);
            graph_->whenOpened(fileNamed(name), [&]() -> std::shared_ptr<AudioFile> {
                gate.get_future().wait();
                if (!opens)
                    throw AudioFileError(AudioFileError::Reason::unreadable, "broken");
                return other;
            });
            playRegion();
            graph_->takeCalls();
            const auto end = load(engine_, name);
            QCOMPARE(takeCalls(), QStringLiteral("stop"));
            playRegion(); // while the file opens
            graph_->takeCalls();
            gate.set_value();
            QTRY_COMPARE(*end, opens ? QStringLiteral("opened") : QStringLiteral("broken"));
            QCOMPARE(takeCalls(), QStringLiteral("stop"));
            playRegion();
            QCOMPARE(graph_->file == other, opens);
            QVERIFY2(!takeCalls().contains(QStringLiteral("start")), "the device starts once");
        }
    }

  private:
    void loadFile(int sampleRateHz = 44100) {
        const QString name = QStringLiteral("a.wav");
        graph_->whenOpened(fileNamed(name), [=] {
            return std::make_shared<SilentFile>("/music/a.wav", sampleRateHz, 10 * sampleRateHz);
        });
        const auto end = load(engine_, name);
        QTRY_COMPARE(*end, QStringLiteral("opened"));
        graph_->takeCalls();
    }
    void playRegion() { engine_->play(model_->start, model_->end); }
    std::int64_t idAnnounced() const { return graph_->following ? graph_->following->id : 0; }
    QString takeCalls() { return graph_->takeCalls().join(u' '); }

    /// Until all that is due on the main thread by then has run.
    void handleAll(std::chrono::milliseconds delay = {}) {
        bool isHandled = false;
        queue_->asyncAfter(delay, [&] { isHandled = true; });
        QTRY_VERIFY(isHandled);
    }

    std::unique_ptr<MainQueue> queue_;
    std::shared_ptr<FakeModel> model_;
    std::shared_ptr<AudioEngine> engine_;
    ScriptedGraph* graph_ = nullptr;
};

QTEST_GUILESS_MAIN(AudioEngineTest)
#include "AudioEngineTest.moc"
