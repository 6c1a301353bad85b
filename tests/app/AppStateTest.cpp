#include <QTest>

#include "app/AppState.h"
#include "platform/desktop/MainQueue.h"
#include "store/SettingsStore.h"
#include "support/TemporarySettings.h"

using namespace ambrel;
using Field = AppState::Field;

namespace {

const QUrl fileA = QUrl::fromLocalFile(QStringLiteral("/music/a.wav"));
const QUrl fileB = QUrl::fromLocalFile(QStringLiteral("/music/b.wav"));

FileSettings someSettings() {
    return {.regionStart = 12.5,
            .regionEnd = 31.25,
            .speed = 450,
            .speedStep = -3,
            .pitch = -100,
            .eqEnabled = true,
            .eqGains = {3, 0, 99},
            .loopEnabled = true,
            .loopDelaySeconds = 1,
            .loopDelayMilliseconds = 500};
}

} // namespace

class AppStateTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void assignsSettingsInOrderAsTheyAre();
    void resetsToTheDefaults();
    void savesOnceAfterABurst();
    void savesEverySettingButTheRegion();
    void savesNothingWhileNoFileIsOpen();
    void savesUnderTheFileThatWasOpen();
    void savesNothingWhenGone();

  private:
    /// Until every save that is due by now has run.
    void waitForSaves();

    std::unique_ptr<test::TemporarySettings> settings_;
    SettingsStore* store_ = nullptr;
    std::unique_ptr<MainQueue> queue_;
    std::shared_ptr<AppState> state_;
    QList<Field> changes_;
};

void AppStateTest::init() {
    settings_ = std::make_unique<test::TemporarySettings>();
    store_ = &settings_->store();
    queue_ = std::make_unique<MainQueue>();
    state_ = AppState::create(*store_, *queue_);
    changes_.clear();
    connect(state_.get(), &AppState::changed, this, [this](Field field) { changes_ << field; });
}

void AppStateTest::cleanup() {
    state_.reset();
    queue_.reset();
    settings_.reset();
}

void AppStateTest::waitForSaves() {
    bool isOver = false;
    queue_->asyncAfter(std::chrono::milliseconds(301), [&] { isOver = true; });
    QTRY_VERIFY(isOver);
}

void AppStateTest::assignsSettingsInOrderAsTheyAre() {
    const QList<Field> all{Field::regionStart,
                           Field::regionEnd,
                           Field::speed,
                           Field::speedStep,
                           Field::pitch,
                           Field::eqEnabled,
                           Field::eqGains,
                           Field::loopEnabled,
                           Field::loopDelaySeconds,
                           Field::loopDelayMilliseconds};
    state_->applySettings(someSettings());
    state_->applySettings(someSettings());
    QCOMPARE(changes_, all + all); // an equal value is news too
    QCOMPARE(state_->currentSettings(), someSettings());
}

void AppStateTest::resetsToTheDefaults() {
    state_->applySettings(someSettings());
    state_->setZoomLevel(7);
    state_->setPanOffset(70);
    state_->setPlaybackPosition(3);
    state_->setIsPlaying(true);
    state_->setAudioDuration(99);
    state_->setWaveformSamples({1, 0.5F});
    changes_.clear();
    state_->resetToDefaults(83.5);

    FileSettings defaults;
    defaults.regionEnd = 83.5;
    QCOMPARE(state_->currentSettings(), defaults);
    QCOMPARE(state_->zoomLevel(), 1.0);
    QCOMPARE(state_->panOffset(), 0.0);
    QCOMPARE(state_->playbackPosition(), 0.0);
    QVERIFY(!state_->isPlaying());
    QCOMPARE(changes_.size(), 14);
    QCOMPARE(changes_.mid(10), (QList<Field>{Field::zoomLevel, Field::panOffset,
                                             Field::playbackPosition, Field::isPlaying}));
    QCOMPARE(state_->audioDuration(), 99.0);
    QCOMPARE(state_->waveformSamples().size(), std::size_t{2});
}

void AppStateTest::savesOnceAfterABurst() {
    state_->setAudioFileURL(fileA);
    QElapsedTimer sinceLast;
    for (const double speed : {90, 80, 70, 60, 50}) {
        state_->setSpeed(speed);
        sinceLast.start();
        QTest::qWait(20);
        QVERIFY2(!store_->load(fileA), "saved in the middle of a drag");
    }
    QTRY_VERIFY(store_->load(fileA));
    QVERIFY2(sinceLast.elapsed() >= 300, qPrintable(QString::number(sinceLast.elapsed())));
    QCOMPARE(store_->load(fileA)->speed, 50.0);
    store_->clearAll();
    waitForSaves();
    QVERIFY2(!store_->load(fileA), "saved a second time");
}

void AppStateTest::savesEverySettingButTheRegion() {
    const std::vector<std::function<void(AppState&)>> saving = {
        [](AppState& state) { state.setSpeed(1); },
        [](AppState& state) { state.setSpeedStep(1); },
        [](AppState& state) { state.setPitch(1); },
        [](AppState& state) { state.setEqEnabled(false); },
        [](AppState& state) { state.setEqGains({}); },
        [](AppState& state) { state.setLoopEnabled(false); },
        [](AppState& state) { state.setLoopDelaySeconds(1); },
        [](AppState& state) { state.setLoopDelayMilliseconds(1); },
    };
    std::vector<std::shared_ptr<AppState>> states;
    const auto fileOf = [](std::size_t i) {
        return QUrl::fromLocalFile(QStringLiteral("/music/%1.wav").arg(i));
    };
    for (std::size_t i = 0; i < saving.size(); ++i) {
        states.push_back(AppState::create(*store_, *queue_));
        states.back()->setAudioFileURL(fileOf(i));
        saving[i](*states.back());
    }
    state_->setAudioFileURL(fileA);
    state_->setRegionStart(1);
    state_->setRegionEnd(2);
    waitForSaves();
    for (std::size_t i = 0; i < saving.size(); ++i)
        QVERIFY2(store_->load(fileOf(i)), qPrintable(QString::number(i)));
    QVERIFY(!store_->load(fileA));
    state_->settingsDidChange(); // what an editor of the region calls
    QTRY_VERIFY(store_->load(fileA));
    QCOMPARE(store_->load(fileA)->regionEnd, 2.0);
}

void AppStateTest::savesNothingWhileNoFileIsOpen() {
    state_->setSpeed(70);
    state_->setAudioFileURL(fileA);
    waitForSaves();
    QVERIFY(!store_->load(fileA));
}

void AppStateTest::savesUnderTheFileThatWasOpen() {
    state_->setAudioFileURL(fileA);
    state_->setSpeed(70);
    state_->setAudioFileURL(fileB);
    state_->setRegionEnd(5); // what is saved is what holds when the save runs
    QTRY_VERIFY(store_->load(fileA));
    QCOMPARE(store_->load(fileA)->regionEnd, 5.0);

    store_->clearAll();
    state_->setAudioFileURL(fileA);
    state_->setSpeed(60);
    state_->setAudioFileURL(fileB);
    state_->setSpeed(100); // replaces the save that was due for A
    QTRY_VERIFY(store_->load(fileB));
    QVERIFY(!store_->load(fileA));
}

void AppStateTest::savesNothingWhenGone() {
    state_->setAudioFileURL(fileA);
    state_->setSpeed(70);
    state_.reset();
    waitForSaves();
    QVERIFY(!store_->load(fileA));
}

QTEST_GUILESS_MAIN(AppStateTest)
#include "AppStateTest.moc"
