#include <optional>

#include <QTest>

#include "app/Transport.h"
#include "support/ScriptedPlayer.h"

using namespace ambrel;

class TransportTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        player_.emplace();
        const QUrl url = QUrl::fromLocalFile(QStringLiteral("/music/a.wav"));
        player_->graph->addFile(url, 10);
        auto loading = player_->engine->load(url);
        QTRY_VERIFY(loading.isReady());
        takeCalls();
        player_->state->setRegion(1, 2);
    }
    void cleanup() { player_.reset(); }

    void startsPausesRestartsAndRewinds() {
        auto& state = *player_->state;
        auto& engine = *player_->engine;
        transport::togglePlayPause(state, engine);
        QVERIFY(state.isPlaying());
        QCOMPARE(state.playbackPosition(), 1.0);
        QVERIFY(takeCalls().endsWith(QStringLiteral("schedule 44100+44100 play")));

        state.setPlaybackPosition(1.5);
        transport::togglePlayPause(state, engine);
        QVERIFY(!state.isPlaying());
        QCOMPARE(state.playbackPosition(), 1.5);
        QCOMPARE(takeCalls(), QStringLiteral("pause"));

        transport::togglePlayPause(state, engine);
        QCOMPARE(state.playbackPosition(), 1.0);
        takeCalls();
        state.setRegionStart(0.5);
        transport::restartRegion(state, engine);
        QVERIFY(state.isPlaying());
        QVERIFY(takeCalls().endsWith(QStringLiteral("schedule 22050+66150 play")));

        state.setPlaybackPosition(1.5);
        transport::stopAndRewind(state, engine);
        QVERIFY(!state.isPlaying());
        QCOMPARE(state.playbackPosition(), 0.5);
        QCOMPARE(takeCalls(), QStringLiteral("stop"));

        for (const double end : {0.5, 0.50001}) { // emptied while it plays; less than a frame
            state.setRegionEnd(1);
            transport::start(state, engine);
            state.setPlaybackPosition(0.75);
            state.setRegionEnd(end);
            transport::restartRegion(state, engine);
            QVERIFY(!state.isPlaying());
            QCOMPARE(state.playbackPosition(), 0.5);
        }
        state.setRegionEnd(0.5);
        takeCalls();
        transport::togglePlayPause(state, engine);
        QVERIFY2(!state.isPlaying(), "nothing is there to play");
        QCOMPARE(takeCalls(), QString());
    }

    void stepsStayInRange() {
        const struct {
            void (*step)(AppState&, AudioEngine&);
            double speed, pitch, speedAfter, pitchAfter;
        } rows[] = {
            {transport::decreaseSpeed, 100, 0, 75, 0},
            {transport::decreaseSpeed, 29, 0, 5, 0},
            {transport::increaseSpeed, 100, 0, 125, 0},
            {transport::increaseSpeed, 290, 0, 300, 0},
            {transport::pitchDown, 100, 0, 100, -1},
            {transport::pitchDown, 100, -1199.5, 100, -1200},
            {transport::pitchUp, 100, 0, 100, 1},
            {transport::pitchUp, 100, 1200, 100, 1200},
        };
        auto& state = *player_->state;
        state.setSpeedStep(25);
        for (const auto& row : rows) {
            state.setSpeed(row.speed);
            state.setPitch(row.pitch);
            transport::pushSettings(state, *player_->engine);
            row.step(state, *player_->engine);
            QCOMPARE(state.speed(), row.speedAfter);
            QCOMPARE(player_->graph->rate, static_cast<float>(row.speedAfter / 100));
            QCOMPARE(state.pitch(), row.pitchAfter);
            QCOMPARE(player_->graph->pitch, static_cast<float>(row.pitchAfter));
        }
    }

  private:
    QString takeCalls() { return player_->graph->takeCalls().join(u' '); }

    std::optional<test::ScriptedPlayer> player_;
};

QTEST_GUILESS_MAIN(TransportTest)
#include "TransportTest.moc"
