#include <QCoroTask>
#include <QTest>

#include "app/Transport.h"
#include "support/ScriptedPlayer.h"

using namespace ambrel;

/// When the state is saved, and what the transport makes of it.
class AppStateTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        player_.emplace();
        state_ = player_->state.get();
        store_ = &player_->settings.store();
    }

    void savesAfterABurst() {
        state_->beginSettings(file_);
        QElapsedTimer sinceLast;
        for (const double speed : {70, 60, 50}) {
            state_->setSpeed(speed);
            sinceLast.start();
            QTest::qWait(20);
            QVERIFY2(!store_->load(file_), "saved in the middle of a drag");
        }
        QTRY_VERIFY(store_->load(file_));
        QVERIFY2(sinceLast.elapsed() >= 300, qPrintable(QString::number(sinceLast.elapsed())));
        QCOMPARE(store_->load(file_)->speed, 50.0);
    }

    void savesForNoFileButItsOwn() {
        state_->setAudioFileURL(file_); // which is only being opened
        state_->setSpeed(90);
        waitForSaves();
        QVERIFY(!store_->load(file_));
        state_->beginSettings(file_);
        state_->setSpeed(70);
        state_->setAudioFileURL(std::nullopt);
        QCOMPARE(store_->load(file_)->speed, 70.0);
        state_->setSpeed(60); // nothing is open any more
        state_->beginSettings(file_);
        state_->setSpeed(80);
        player_->state.reset();
        waitForSaves();
        QCOMPARE(store_->load(file_)->speed, 70.0);
    }

    void transportStartsPausesRestartsAndRewinds() {
        player_->graph->addFile(file_, 10);
        QCoro::waitFor(player_->engine->load(file_));
        enum : bool { rests, plays };
        const struct {
            void (*step)(AppState&, AudioEngine&);
            double start, end;
            bool isPlaying;
            double position;
            const char* last; ///< of the graph's calls
        } rows[] = {
            {transport::togglePlayPause, 1, 2, plays, 1, "play"},
            {transport::togglePlayPause, 1, 2, rests, 1.5, "pause"},
            {transport::togglePlayPause, 1, 2, plays, 1, "play"},
            {transport::restartRegion, 0.5, 2, plays, 1.5, "play"},
            {transport::stopAndRewind, 0.5, 2, rests, 0.5, "stop"},
            {transport::start, 0.5, 1, plays, 0.5, "play"},
            {transport::restartRegion, 0.5, 0.50001, rests, 0.5, "stop"}, // less than a frame
            {transport::togglePlayPause, 0.5, 0.5, rests, 1.5, ""},
        };
        for (const auto& row : rows) {
            state_->setRegion(row.start, row.end);
            state_->setPlaybackPosition(1.5);
            player_->graph->takeCalls();
            row.step(*state_, *player_->engine);
            QCOMPARE(state_->isPlaying(), row.isPlaying);
            QCOMPARE(state_->playbackPosition(), row.position);
            const QStringList calls = player_->graph->takeCalls();
            QCOMPARE(calls.value(calls.size() - 1), QString::fromLatin1(row.last));
        }
    }

  private:
    /// Until every save that is due by now has run.
    void waitForSaves() {
        bool isOver = false;
        player_->queue.asyncAfter(std::chrono::milliseconds(301), [&] { isOver = true; });
        QTRY_VERIFY(isOver);
    }

    const QUrl file_ = QUrl::fromLocalFile(u"/music/a.wav"_qs);
    std::optional<test::ScriptedPlayer> player_;
    AppState* state_ = nullptr;
    SettingsStore* store_ = nullptr;
};

QTEST_GUILESS_MAIN(AppStateTest)
#include "AppStateTest.moc"
