#include <future>
#include <limits>
#include <thread>

#include <QCoroTask>
#include <QTest>

#include "support/ClockedOutput.h"
#include "support/ScriptedPlayer.h"

using namespace ambrel;
using Field = AppState::Field;

class AudioEngineTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        player_.emplace();
        graph_ = player_->graph;
        model_ = player_->state.get();
        loadFile();
        model_->setRegion(1.5, 3.25);
        onPosition_ = nullptr;
        writes_.clear();
        connect(model_, &AppState::changed, this, [this](Field field) {
            if (field == Field::isPlaying)
                writes_ << u"playing %1"_qs.arg(model_->isPlaying());
            if (field != Field::playbackPosition)
                return;
            writes_ << u"position %1"_qs.arg(model_->playbackPosition());
            if (onPosition_)
                onPosition_();
        });
    }
    void cleanup() { player_.reset(); }

    void playsTheFramesOfTheRegion() {
        QVERIFY2(!test::ScriptedPlayer().engine->play(0, 1), "there is no file to play yet");
        QVERIFY2(!graph_->isRunning(), "the sound device is left alone until something plays");
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
                 Case{44100, 2, nan, ""},
                 Case{44100, 2, 2.000001, "stop"}, // less than a frame
                 Case{44100, -infinity, infinity,
                      "stop schedule -281474976710656+562949953421312 play"},
             }) {
            loadFile(c.sampleRateHz);
            player_->engine->play(c.start, c.end);
            QCOMPARE(takeCalls(), QString::fromLatin1(c.calls));
        }
    }

    void stopsAtTheRegionsEnd() {
        playRegion();
        std::thread(graph_->takeCompletion()).join();
        QVERIFY2(writes_.isEmpty(), "the model belongs to the main thread");
        const QStringList all{u"position 3.25"_qs, u"playing 0"_qs, u"position 1.5"_qs};
        QTRY_COMPARE(writes_, all);

        playRegion();
        graph_->takeCompletion()();
        writes_.clear();
        onPosition_ = [this] {
            onPosition_ = nullptr;
            playRegion(); // pressed between the end and the return to the start
        };
        QTRY_VERIFY(!writes_.isEmpty());
        QTest::qWait(0);
        QVERIFY(!writes_.contains(u"playing 0"_qs));
    }

    /// Whatever was about to follow: the end's two steps, the next pass, or its pause.
    void pauseAndStopHold() {
        struct Case {
            bool loop;
            int delayMilliseconds;
            bool isHandled; ///< the completion, when the pause comes
            bool stops = false;
        };
        for (const Case& c : {Case{false, 0, false}, Case{true, 0, false}, Case{true, 5, false},
                              Case{true, 5, true}, Case{true, 5, true, true}}) {
            model_->setLoopEnabled(c.loop);
            model_->setLoopDelayMilliseconds(c.delayMilliseconds);
            playRegion();
            graph_->running = idAnnounced();
            graph_->takeCompletion()();
            if (c.isHandled)
                QTest::qWait(0);
            c.stops ? player_->engine->stop() : player_->engine->pause();
            writes_.clear();
            graph_->takeCalls();
            handleAll(std::chrono::milliseconds(6));
            QCOMPARE(takeCalls(), QString());
            QCOMPARE(writes_, QStringList());
            player_->engine->stop();
        }
    }

    void announcesWhatFollowsOnce() {
        model_->setLoopEnabled(true);
        playRegion();
        const auto first = graph_->following;
        QCOMPARE(first, (Announcement{idAnnounced(), 66150, 77175}));
        model_->setRegion(1.5, 3.25);
        QCOMPARE(graph_->following, first); // which is the same
        model_->setRegion(2, 4);            // never one end with the other of before
        QCOMPARE(graph_->following, (Announcement{first->id + 1, 88200, 88200}));
        model_->setLoopDelaySeconds(1);
        model_->setLoopDelayMilliseconds(500);
        QCOMPARE(graph_->following, (Announcement{idAnnounced(), 88200, 88200, 1.5}));
        for (const double nothing : {2.0, std::numeric_limits<double>::quiet_NaN()}) {
            model_->setRegionEnd(nothing);
            QVERIFY(!graph_->following);
        }
        model_->setRegionEnd(3);
        QVERIFY(graph_->following);
        model_->setLoopEnabled(false);
        QVERIFY(!graph_->following);
    }

    /// At a pass's end, what runs on is adopted if it is what the region says by then.
    void adoptsWhatRunsOn() {
        struct Case {
            bool loop;
            int delayMilliseconds;
            int running; ///< 1: what was announced; 2: something else; 0: nothing
            const char* calls;
            double end = 4;
        };
        for (const Case& c :
             {Case{true, 0, 1, "adopt"}, Case{true, 0, 2, "stop schedule 88200+88200 play"},
              Case{true, 20, 1, "adopt"}, Case{true, 20, 2, "stop stop schedule 88200+88200 play"},
              Case{true, 0, 0, "stop", 2}, Case{false, 0, 2, "stop"}, Case{false, 0, 0, ""}}) {
            model_->setRegion(1.5, 3.25);
            model_->setLoopEnabled(c.loop);
            model_->setLoopDelayMilliseconds(c.delayMilliseconds);
            playRegion();
            writes_.clear();
            model_->setRegion(2, c.end);
            if (c.running > 0)
                graph_->running = idAnnounced() + c.running - 1;
            graph_->takeCompletion()();
            QTest::qWait(0);
            model_->setRegionEnd(5); // too late for a pass that waits
            QTRY_COMPARE(graph_->calls.join(u' '), QString::fromLatin1(c.calls));
            handleAll();
            QTRY_COMPARE(writes_.contains(u"playing 0"_qs), !c.loop || c.end == 2);
            QCOMPARE(model_->playbackPosition() == 2, !c.loop || c.end == 2);
            player_->engine->stop();
        }
    }

    void aCompletionMayArriveAfterModelAndEngine() {
        playRegion();
        player_->state.reset();
        graph_->takeCompletion()();
        handleAll();
        player_->engine->play(0, 1);
        const auto completion = graph_->takeCompletion();
        player_->engine.reset();
        completion();
        handleAll();
    }

    void aLoadStopsWhatPlaysAndKeepsTheFileWhenItFails() {
        for (const bool opens : {false, true}) {
            std::promise<void> gate;
            const QUrl next = QUrl::fromLocalFile(QString::number(opens));
            const auto other = test::SyntheticFile::numbered(8000, 80000);
            graph_->whenOpened(next, [&] {
                gate.get_future().wait();
                return opens ? other
                             : throw AudioFileError(AudioFileError::Reason::unreadable, "broken");
            });
            playRegion();
            auto loading = player_->engine->load(next);
            QCOMPARE(takeCalls(), u"stop"_qs);
            playRegion(); // while the file opens
            gate.set_value();
            QTRY_VERIFY(loading.isReady());
            QCOMPARE(takeCalls(), u"stop"_qs);
            playRegion();
            QCOMPARE(graph_->file == other, opens);
        }
    }

    /// In real time, heard by nobody.
    void loopsAndEndsOnTheRealGraph() {
        const auto engine = AudioEngine::create(
            AudioGraph::create(std::make_unique<test::ClockedOutput>(48'000, 480, 1)),
            player_->queue, [](auto&) { return test::SyntheticFile::numbered(8000, 8000); });
        engine->setAppState(player_->state);
        QCoro::waitFor(engine->load(file_));
        model_->setRegion(0.2, 0.6);
        model_->setLoopEnabled(true);
        model_->setLoopDelayMilliseconds(100);
        std::vector<double> positions;
        onPosition_ = [&] { positions.push_back(model_->playbackPosition()); };
        engine->play(0.2, 0.6);
        QTRY_VERIFY(!std::ranges::is_sorted(positions));
        QVERIFY2(positions.size() > 4, "the play head is written while it moves");
        QCOMPARE(*std::prev(std::ranges::is_sorted_until(positions)), 0.6); // where it rests
        model_->setLoopEnabled(false);
        QTRY_VERIFY(writes_.contains(u"playing 0"_qs));
        QCOMPARE(positions.back(), 0.2);
    }

  private:
    void loadFile(int sampleRateHz = 44100) {
        graph_->addFile(file_, 10, sampleRateHz);
        QCoro::waitFor(player_->engine->load(file_));
        graph_->takeCalls();
    }
    void playRegion() {
        player_->engine->play(model_->regionStart(), model_->regionEnd());
        graph_->takeCalls();
    }
    std::int64_t idAnnounced() const { return graph_->following ? graph_->following->id : 0; }
    QString takeCalls() { return graph_->takeCalls().join(u' '); }

    /// Until all that is due on the main thread by then has run.
    void handleAll(std::chrono::milliseconds delay = {}) {
        bool isHandled = false;
        player_->queue.asyncAfter(delay, [&] { isHandled = true; });
        QTRY_VERIFY(isHandled);
    }

    const QUrl file_ = QUrl::fromLocalFile(u"/music/a.wav"_qs);
    std::optional<test::ScriptedPlayer> player_;
    test::ScriptedGraph* graph_ = nullptr;
    AppState* model_ = nullptr;
    std::function<void()> onPosition_;
    QStringList writes_;
};

QTEST_GUILESS_MAIN(AudioEngineTest)
#include "AudioEngineTest.moc"
