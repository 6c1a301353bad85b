#include <QTest>

#include "support/ScriptedPlayer.h"

using namespace ambrel;

/// When the state is saved.
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
