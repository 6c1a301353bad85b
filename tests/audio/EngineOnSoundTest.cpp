#include <QTest>

#include "audio/AudioEngine.h"
#include "audio/PlaybackModel.h"
#include "support/ClockedOutput.h"
#include "support/MediaMaker.h"

using namespace ambrel;

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
    std::shared_ptr<void> observeLoop(std::function<void()> notify) override {
        return std::make_shared<std::function<void()>>(loopChanged = std::move(notify));
    }
    void setPlaybackPosition(double seconds) override {
        positions.push_back({seconds, clock.elapsed()});
    }
    void setIsPlaying(bool playing) override { isPlaying = playing; }

    std::function<void()> loopChanged;
    bool loop = true;
    bool isPlaying = true;
    std::vector<Position> positions;
    QElapsedTimer clock;
};

} // namespace

/// The engine's rules on the real graph and a real file; in real time, heard by nobody.
class EngineOnSoundTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void playsRestsPlaysAgainAndEnds() {
        const auto file = media_.wav("phrase.wav", test::MediaMaker::phrase(1));
        MainQueue queue;
        const auto model = std::make_shared<NotingModel>();
        auto engine = AudioEngine::create(
            AudioGraph::create(std::make_unique<test::ClockedOutput>(48'000, 480, 1)), queue);
        engine->setAppState(model);
        auto loading = engine->load(QUrl::fromLocalFile(QString::fromStdString(file.string())));
        QTRY_VERIFY(loading.isReady());
        engine->play(0.2, 0.6);
        auto& positions = model->positions;
        const auto goesBack = [](const Position& a, const Position& b) {
            return b.seconds < a.seconds;
        };
        QTRY_VERIFY(std::ranges::adjacent_find(positions, goesBack) != positions.end());
        QVERIFY2(positions.size() > 4, "the play head is written while it moves");
        QVERIFY(positions.front().seconds >= 0.2);
        const auto lastOfPass = std::ranges::adjacent_find(positions, goesBack);
        QCOMPARE(lastOfPass->seconds, 0.6);
        const auto firstAtEnd = std::ranges::find(positions, 0.6, &Position::seconds);
        const auto rested = (lastOfPass + 1)->milliseconds - firstAtEnd->milliseconds;
        QVERIFY2(rested >= 250, qPrintable(QString::number(rested))); // a tick may be 50 ms off
        QVERIFY(model->isPlaying);

        model->loop = false;
        model->loopChanged();
        QTRY_VERIFY(!model->isPlaying);
        QCOMPARE(positions.back().seconds, 0.2);
        QCOMPARE(positions[positions.size() - 2].seconds, 0.6);

        model->isPlaying = true;
        engine->play(0.2, 0.6);
        engine.reset();
        bool isDelivered = false;
        queue.async([&] { isDelivered = true; });
        QTRY_VERIFY(isDelivered);
        QVERIFY2(model->isPlaying, "the segment's end came from an engine that is gone");
    }

  private:
    test::MediaMaker media_;
};

QTEST_GUILESS_MAIN(EngineOnSoundTest)
#include "EngineOnSoundTest.moc"
