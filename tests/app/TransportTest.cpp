#include <QtTest>

#include "app/AppState.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "platform/desktop/MainQueue.h"
#include "support/ScriptedGraph.h"
#include "support/TemporarySettings.h"

using namespace ambrel;

class TransportTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void startsPausesAndRewinds();
    void startsNothingInAnEmptyRegion();
    void restartsTheRegionWhilePlaying();
    void stepsStayInRange_data();
    void stepsStayInRange();

  private:
    std::unique_ptr<test::TemporarySettings> settings_;
    std::unique_ptr<MainQueue> queue_;
    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    test::ScriptedGraph* graph_ = nullptr;
};

void TransportTest::init() {
    settings_ = std::make_unique<test::TemporarySettings>();
    queue_ = std::make_unique<MainQueue>();
    state_ = AppState::create(settings_->store(), *queue_);
    auto graph = std::make_unique<test::ScriptedGraph>();
    graph_ = graph.get();
    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/music/a.wav"));
    graph_->addFile(url, 10);
    engine_ = AudioEngine::create(std::move(graph), *queue_);
    auto loading = engine_->load(url);
    QTRY_VERIFY(loading.isReady());
    graph_->takeCalls();
    state_->setRegionStart(1);
    state_->setRegionEnd(2);
}

void TransportTest::cleanup() {
    engine_.reset();
    state_.reset();
    queue_.reset();
    settings_.reset();
}

void TransportTest::startsPausesAndRewinds() {
    transport::togglePlayPause(*state_, *engine_);
    QVERIFY(state_->isPlaying());
    QCOMPARE(state_->playbackPosition(), 1.0);
    QCOMPARE(graph_->takeCalls().join(QChar(u' ')),
             QStringLiteral("stop start schedule 44100+44100 play"));

    state_->setPlaybackPosition(1.5);
    transport::togglePlayPause(*state_, *engine_);
    QVERIFY(!state_->isPlaying());
    QCOMPARE(state_->playbackPosition(), 1.5);
    QCOMPARE(graph_->takeCalls(), QStringList(QStringLiteral("pause")));

    transport::togglePlayPause(*state_, *engine_);
    QCOMPARE(state_->playbackPosition(), 1.0);
    state_->setPlaybackPosition(1.5);
    graph_->takeCalls();
    transport::stopAndRewind(*state_, *engine_);
    QVERIFY(!state_->isPlaying());
    QCOMPARE(state_->playbackPosition(), 1.0);
    QCOMPARE(graph_->takeCalls(), QStringList(QStringLiteral("stop")));
}

void TransportTest::startsNothingInAnEmptyRegion() {
    state_->setPlaybackPosition(7);
    state_->setRegionEnd(1);
    transport::togglePlayPause(*state_, *engine_);
    QVERIFY(!state_->isPlaying());
    QCOMPARE(state_->playbackPosition(), 7.0);
    QCOMPARE(graph_->takeCalls(), QStringList());
}

void TransportTest::restartsTheRegionWhilePlaying() {
    transport::start(*state_, *engine_);
    graph_->takeCalls();
    state_->setRegionStart(0.5);
    transport::restartRegion(*state_, *engine_);
    QVERIFY(state_->isPlaying());
    QVERIFY(graph_->takeCalls().contains(QStringLiteral("schedule 22050+66150")));
}

void TransportTest::stepsStayInRange_data() {
    using Step = void (*)(AppState&, AudioEngine&);
    QTest::addColumn<Step>("step");
    QTest::addColumn<double>("speed");
    QTest::addColumn<double>("speedAfter");
    QTest::addColumn<double>("pitch");
    QTest::addColumn<double>("pitchAfter");
    const auto row = [](const char* name, Step step, double speed, double speedAfter, double pitch,
                        double pitchAfter) {
        QTest::newRow(name) << step << speed << speedAfter << pitch << pitchAfter;
    };
    row("slower", transport::decreaseSpeed, 100, 75, 0, 0);
    row("slowest", transport::decreaseSpeed, 29, 5, 0, 0);
    row("faster", transport::increaseSpeed, 100, 125, 0, 0);
    row("fastest", transport::increaseSpeed, 290, 300, 0, 0);
    row("lower", transport::pitchDown, 100, 100, 0, -1);
    row("lowest", transport::pitchDown, 100, 100, -1199.5, -1200);
    row("higher", transport::pitchUp, 100, 100, 0, 1);
    row("highest", transport::pitchUp, 100, 100, 1200, 1200);
}

void TransportTest::stepsStayInRange() {
    using Step = void (*)(AppState&, AudioEngine&);
    QFETCH(Step, step);
    QFETCH(double, speed);
    QFETCH(double, speedAfter);
    QFETCH(double, pitch);
    QFETCH(double, pitchAfter);
    state_->setSpeed(speed);
    state_->setSpeedStep(25);
    state_->setPitch(pitch);
    transport::pushSettings(*state_, *engine_);
    step(*state_, *engine_);
    QCOMPARE(state_->speed(), speedAfter);
    QCOMPARE(graph_->rate, static_cast<float>(speedAfter / 100));
    QCOMPARE(state_->pitch(), pitchAfter);
    QCOMPARE(graph_->pitch, static_cast<float>(pitchAfter));
}

QTEST_GUILESS_MAIN(TransportTest)
#include "TransportTest.moc"
