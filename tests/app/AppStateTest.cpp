#include <QTest>

#include "app/AppState.h"
#include "platform/desktop/MainQueue.h"
#include "store/SettingsStore.h"
#include "support/TemporarySettings.h"

using namespace ambrel;
using Field = AppState::Field;

class AppStateTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        settings_ = std::make_unique<test::TemporarySettings>();
        store_ = &settings_->store();
        state_ = AppState::create(*store_, queue_);
    }
    void cleanup() { state_.reset(); }

    void assignsAndResetsInOrderAndTellsOfEqualValuesToo() {
        const FileSettings settings{.regionStart = 12.5,
                                    .regionEnd = 31.25,
                                    .speed = 450,
                                    .speedStep = -3,
                                    .pitch = -100,
                                    .eqEnabled = true,
                                    .eqGains = {3, 0, 99},
                                    .loopEnabled = true,
                                    .loopDelaySeconds = 1,
                                    .loopDelayMilliseconds = 500};
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
        QList<Field> changes;
        connect(state_.get(), &AppState::changed, this, [&](Field field) { changes << field; });
        state_->applySettings(settings);
        state_->applySettings(settings);
        QCOMPARE(std::exchange(changes, {}), all + all);
        QCOMPARE(state_->currentSettings(), settings);

        QList<std::pair<double, double>> regions; // never one end with the other of before
        const auto observation = state_->observeLoop(
            [&] { regions.emplaceBack(state_->regionStart(), state_->regionEnd()); });
        state_->setRegion(40, 50);
        QCOMPARE(regions, (QList<std::pair<double, double>>{{40, 50}}));

        state_->setZoomLevel(7);
        state_->setPanOffset(70);
        state_->setPlaybackPosition(3);
        state_->setIsPlaying(true);
        state_->setAudioDuration(99);
        changes.clear();
        state_->resetToDefaults(83.5);
        QCOMPARE(changes, all + (QList<Field>{Field::zoomLevel, Field::panOffset,
                                              Field::playbackPosition, Field::isPlaying}));
        FileSettings defaults;
        defaults.regionEnd = 83.5;
        QCOMPARE(state_->currentSettings(), defaults);
        QCOMPARE(state_->zoomLevel(), 1.0);
        QCOMPARE(state_->panOffset() + state_->playbackPosition(), 0.0);
        QVERIFY(!state_->isPlaying());
        QCOMPARE(state_->audioDuration(), 99.0);
    }

    void savesOnceAfterABurst() {
        state_->beginSettings(fileA_);
        QElapsedTimer sinceLast;
        for (const double speed : {70, 60, 50}) {
            state_->setSpeed(speed);
            sinceLast.start();
            QTest::qWait(20);
            QVERIFY2(!store_->load(fileA_), "saved in the middle of a drag");
        }
        QTRY_VERIFY(store_->load(fileA_));
        QVERIFY2(sinceLast.elapsed() >= 300, qPrintable(QString::number(sinceLast.elapsed())));
        QCOMPARE(store_->load(fileA_)->speed, 50.0);
        store_->clearAll();
        waitForSaves();
        QVERIFY2(!store_->load(fileA_), "saved a second time");
    }

    void savesEverySettingButTheRegion() {
        const std::vector<std::function<void(AppState&)>> saving = {
            [](AppState& state) { state.setSpeed(1); },
            [](AppState& state) { state.setSpeedStep(1); },
            [](AppState& state) { state.setPitch(1); },
            [](AppState& state) { state.setEqEnabled(false); },
            [](AppState& state) { state.setEqGains({}); },
            [](AppState& state) { state.setLoopEnabled(false); },
            [](AppState& state) { state.setLoopDelaySeconds(1); },
            [](AppState& state) { state.setLoopDelayMilliseconds(1); },
            [](AppState& state) { state.settingsDidChange(); }, // an editor of the region
            [](AppState& state) { state.setRegionStart(1), state.setRegionEnd(2); },
        };
        std::vector<std::shared_ptr<AppState>> states;
        const auto fileOf = [](std::size_t i) {
            return QUrl::fromLocalFile(QStringLiteral("/music/%1.wav").arg(i));
        };
        for (std::size_t i = 0; i < saving.size(); ++i) {
            states.push_back(AppState::create(*store_, queue_));
            states.back()->beginSettings(fileOf(i));
            saving[i](*states.back());
        }
        waitForSaves();
        for (std::size_t i = 0; i < saving.size(); ++i)
            QVERIFY2(store_->load(fileOf(i)).has_value() == (i + 1 < saving.size()),
                     qPrintable(QString::number(i)));
    }

    void savesUnderTheFileThatTheSettingsBelongTo() {
        state_->setSpeed(80); // no file's
        state_->setAudioFileURL(fileB_);
        state_->setSpeed(90); // still no file's: it is only being opened
        waitForSaves();
        QVERIFY(!store_->load(fileB_));

        state_->beginSettings(fileA_);
        state_->setSpeed(70);
        state_->setAudioFileURL(fileB_); // from here on it is being opened
        state_->setRegionEnd(5);         // what is saved is what holds when the save runs
        state_->beginSettings(fileB_);
        state_->setSpeed(100);
        QCOMPARE(store_->load(fileA_)->regionEnd, 5.0);
        QTRY_VERIFY(store_->load(fileB_));
        QCOMPARE(store_->load(fileA_)->speed, 70.0);

        store_->clearAll();
        state_->setAudioFileURL(std::nullopt);
        state_->setSpeed(60); // nothing is open any more
        state_->beginSettings(fileA_);
        state_->setSpeed(90);
        state_.reset();
        waitForSaves();
        QVERIFY(!store_->load(fileA_) && !store_->load(fileB_));
    }

  private:
    /// Until every save that is due by now has run.
    void waitForSaves() {
        bool isOver = false;
        queue_.asyncAfter(std::chrono::milliseconds(301), [&] { isOver = true; });
        QTRY_VERIFY(isOver);
    }

    const QUrl fileA_ = QUrl::fromLocalFile(QStringLiteral("/music/a.wav"));
    const QUrl fileB_ = QUrl::fromLocalFile(QStringLiteral("/music/b.wav"));
    MainQueue queue_;
    std::unique_ptr<test::TemporarySettings> settings_;
    SettingsStore* store_ = nullptr;
    std::shared_ptr<AppState> state_;
};

QTEST_GUILESS_MAIN(AppStateTest)
#include "AppStateTest.moc"
