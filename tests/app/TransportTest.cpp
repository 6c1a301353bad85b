#include <optional>

#include <QTest>

#include "app/Transport.h"
#include "support/ScriptedPlayer.h"

using namespace ambrel;

class TransportTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup() { player_.reset(); }

    void startsPausesAndRewinds();
    void startsNothingInAnEmptyRegion();
    void restartsTheRegionWhilePlaying();
    void stepsStayInRange();

  private:
    std::optional<test::ScriptedPlayer> player_;
};

void TransportTest::init() {
    player_.emplace();
    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/music/a.wav"));
    player_->graph->addFile(url, 10);
    auto loading = player_->engine->load(url);
    QTRY_VERIFY(loading.isReady());
    player_->graph->takeCalls();
    player_->state->setRegionStart(1);
    player_->state->setRegionEnd(2);
}

void TransportTest::startsPausesAndRewinds() {
    auto& state = *player_->state;
    transport::togglePlayPause(state, *player_->engine);
    QVERIFY(state.isPlaying());
    QCOMPARE(state.playbackPosition(), 1.0);
    QCOMPARE(player_->graph->takeCalls().last(2),
             (QStringList{QStringLiteral("schedule 44100+44100"), QStringLiteral("play")}));

    state.setPlaybackPosition(1.5);
    transport::togglePlayPause(state, *player_->engine);
    QVERIFY(!state.isPlaying());
    QCOMPARE(state.playbackPosition(), 1.5);
    QCOMPARE(player_->graph->takeCalls(), QStringList(QStringLiteral("pause")));

    transport::togglePlayPause(state, *player_->engine);
    QCOMPARE(state.playbackPosition(), 1.0);
    state.setPlaybackPosition(1.5);
    player_->graph->takeCalls();
    transport::stopAndRewind(state, *player_->engine);
    QVERIFY(!state.isPlaying());
    QCOMPARE(state.playbackPosition(), 1.0);
    QCOMPARE(player_->graph->takeCalls(), QStringList(QStringLiteral("stop")));
}

void TransportTest::startsNothingInAnEmptyRegion() {
    player_->state->setRegionEnd(1);
    transport::togglePlayPause(*player_->state, *player_->engine);
    QVERIFY(!player_->state->isPlaying());
    QCOMPARE(player_->graph->takeCalls(), QStringList());
}

void TransportTest::restartsTheRegionWhilePlaying() {
    transport::start(*player_->state, *player_->engine);
    player_->state->setRegionStart(0.5);
    transport::restartRegion(*player_->state, *player_->engine);
    QVERIFY(player_->state->isPlaying());
    QVERIFY(player_->graph->calls.contains(QStringLiteral("schedule 22050+66150")));
}

void TransportTest::stepsStayInRange() {
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

QTEST_GUILESS_MAIN(TransportTest)
#include "TransportTest.moc"
