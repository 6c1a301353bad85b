#include <QTest>

#include "audio/AudioEngine.h"
#include "audio/PlaybackModel.h"
#include "audio/SoundEngineGraph.h"
#include "platform/sound/NullOutput.h"
#include "support/MediaMaker.h"

using namespace ambrel;
using namespace std::chrono_literals;

namespace {

struct Position {
    double seconds;
    std::int64_t milliseconds; ///< since the test's start
};

class NotingModel : public PlaybackModel {
  public:
    NotingModel() { clock.start(); }
    bool loopEnabled() const override { return loop; }
    double regionStart() const override { return 0.2; }
    double regionEnd() const override { return 0.6; }
    std::int64_t loopDelaySeconds() const override { return 0; }
    std::int64_t loopDelayMilliseconds() const override { return 300; }
    void setPlaybackPosition(double seconds) override {
        positions.push_back({seconds, clock.elapsed()});
    }
    void setIsPlaying(bool playing) override { isPlaying = playing; }

    bool loop = false;
    bool isPlaying = false;
    std::vector<Position> positions;
    QElapsedTimer clock;
};

} // namespace

/// The engine's rules on the real graph and a real file; in real time, heard by nobody.
class SoundEngineGraphTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void playsARegionToItsEnd();
    void restsBetweenPasses();
    void mayEndWhilePlaying();

  private:
    void playRegion();

    test::MediaMaker media_;
    std::unique_ptr<MainQueue> queue_;
    std::shared_ptr<NotingModel> model_;
    std::shared_ptr<AudioEngine> engine_;
};

void SoundEngineGraphTest::init() {
    const auto file = media_.wav("phrase.wav", test::MediaMaker::phrase(1));
    queue_ = std::make_unique<MainQueue>();
    model_ = std::make_shared<NotingModel>();
    engine_ = AudioEngine::create(
        std::make_unique<SoundEngineGraph>(std::make_unique<NullOutput>()), *queue_);
    engine_->setAppState(model_);
    auto loading = engine_->load(QUrl::fromLocalFile(QString::fromStdString(file.string())));
    QTRY_VERIFY(loading.isReady());
}

void SoundEngineGraphTest::cleanup() {
    engine_.reset();
    model_.reset();
    queue_.reset();
}

void SoundEngineGraphTest::playRegion() {
    model_->isPlaying = true;
    engine_->play(model_->regionStart(), model_->regionEnd());
}

void SoundEngineGraphTest::playsARegionToItsEnd() {
    playRegion();
    QTRY_VERIFY(!model_->isPlaying);
    auto& positions = model_->positions;
    QVERIFY2(positions.size() > 3, "the play head is written while it moves");
    QCOMPARE(positions.back().seconds, model_->regionStart());
    positions.pop_back();
    QCOMPARE(positions.back().seconds, model_->regionEnd());
    QVERIFY(positions.front().seconds >= model_->regionStart());
    QVERIFY(std::ranges::is_sorted(positions, {}, &Position::seconds));
}

void SoundEngineGraphTest::restsBetweenPasses() {
    model_->loop = true;
    playRegion();
    auto& positions = model_->positions;
    const auto goesBack = [](const Position& a, const Position& b) {
        return b.seconds < a.seconds;
    };
    QTRY_VERIFY(std::ranges::adjacent_find(positions, goesBack) != positions.end());
    const auto lastOfPass = std::ranges::adjacent_find(positions, goesBack);
    QCOMPARE(lastOfPass->seconds, model_->regionEnd());
    const auto firstAtEnd = std::ranges::find(positions, model_->regionEnd(), &Position::seconds);
    const auto rested = (lastOfPass + 1)->milliseconds - firstAtEnd->milliseconds;
    QVERIFY2(rested >= 250, qPrintable(QString::number(rested))); // a tick may be 50 ms off
    QVERIFY(model_->isPlaying);
    engine_->stop();
}

void SoundEngineGraphTest::mayEndWhilePlaying() {
    playRegion();
    QTRY_VERIFY(!model_->positions.empty());
    engine_.reset();
    bool isDelivered = false;
    queue_->async([&] { isDelivered = true; });
    QTRY_VERIFY(isDelivered);
    QVERIFY2(model_->isPlaying, "the segment's end came from an engine that is gone");
}

QTEST_GUILESS_MAIN(SoundEngineGraphTest)
#include "SoundEngineGraphTest.moc"
