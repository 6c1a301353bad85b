#include "app/CacheMaintenance.h"

#include <QRegularExpression>
#include <QTest>

#include "platform/desktop/MainQueue.h"
#include "support/TemporarySettings.h"

using namespace ambrel;

/// The figures of the settings window, and the clear that they show.
class CacheMaintenanceTest : public QObject {
    Q_OBJECT

  private:
    test::TemporarySettings settings_;
    MainQueue mainQueue_;
    QStringList shown_; ///< "entries:bytes" of each count that was reported

    std::unique_ptr<CacheMaintenance> makeMaintenance() {
        auto made = std::make_unique<CacheMaintenance>(settings_.waveformCache(), settings_.store(),
                                                       mainQueue_);
        connect(made.get(), &CacheMaintenance::statsRefreshed, this, [this](const auto& stats) {
            shown_ << u"%1:%2"_qs.arg(stats.entryCount).arg(stats.totalBytes);
        });
        return made;
    }

    void store(int count) {
        for (int i = 0; i < count; ++i) {
            settings_.preferences().set(u"waveformCache./%1"_qs.arg(i), QByteArray("no record"));
            settings_.store().save({}, QUrl::fromLocalFile(u"/%1"_qs.arg(i)));
        }
    }

    QStringList keysLeft() { return settings_.preferences().keys(); }

  private Q_SLOTS:
    void init() {
        shown_.clear();
        settings_.recentFiles().push(QUrl::fromLocalFile(u"/a"_qs));
        settings_.downloads().setDownloadDirectory(QUrl::fromLocalFile(u"/b"_qs));
    }

    void figuresAfterAClearAreTheLast() {
        const auto maintenance = makeMaintenance();
        const QStringList others = keysLeft();
        store(120);
        maintenance->refreshStats();
        QTRY_COMPARE(shown_, QStringList(u"120:1080"_qs));

        shown_.clear();
        maintenance->refreshStats();
        maintenance->refreshStats();
        maintenance->clearAll();
        maintenance->refreshStats();
        QTRY_COMPARE(shown_.value(0), u"0:0"_qs); // and no figures from before it
        QCOMPARE(keysLeft(), others);
        store(1);
        maintenance->refreshStats();
        QTRY_COMPARE(shown_.last(), u"1:9"_qs);
    }

    void clearIsCarriedOutThoughTheProgramEnds() {
        for (const bool isCounting : {false, true}) {
            store(120);
            auto maintenance = makeMaintenance();
            if (isCounting)
                maintenance->refreshStats();
            maintenance->clearAll();
            maintenance.reset();
            QVERIFY(keysLeft()
                        .filter(QRegularExpression(u"^(waveformCache|settings)\\."_qs))
                        .isEmpty());
        }
        QVERIFY(shown_.isEmpty());
    }
};

QTEST_GUILESS_MAIN(CacheMaintenanceTest)
#include "CacheMaintenanceTest.moc"
