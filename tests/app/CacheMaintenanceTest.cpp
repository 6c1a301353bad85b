#include <QTest>

#include "app/CacheMaintenance.h"
#include "platform/desktop/MainQueue.h"
#include "support/TemporarySettings.h"

using namespace ambrel;

class CacheMaintenanceTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    /// Also though the program ends, and no figures from before it are shown.
    void aClearWhileACountRunsIsCarriedOut() {
        for (const bool ends : {false, true}) {
            test::TemporarySettings settings;
            settings.recentFiles().push(QUrl::fromLocalFile(u"/a"_qs));
            settings.downloads().setDownloadDirectory(QUrl::fromLocalFile(u"/b"_qs));
            MainQueue queue;
            QStringList shown;
            auto maintenance = std::make_unique<CacheMaintenance>(settings.waveformCache(),
                                                                  settings.store(), queue);
            connect(maintenance.get(), &CacheMaintenance::statsRefreshed, this, [&](auto& stats) {
                shown << u"%1 entries, %2 B"_qs.arg(stats.entryCount).arg(stats.totalBytes);
            });
            const QStringList others = settings.preferences().keys();
            for (int i = 0; i < 120; ++i) {
                settings.preferences().set(u"waveformCache./%1"_qs.arg(i), QByteArray("no record"));
                settings.store().save({}, QUrl::fromLocalFile(u"/%1"_qs.arg(i)));
            }
            maintenance->refreshStats();
            maintenance->clearAll();
            if (ends)
                maintenance.reset();
            else
                QTRY_COMPARE(shown, QStringList(u"0 entries, 0 B"_qs));
            QCOMPARE(settings.preferences().keys(), others);
            QCOMPARE(shown.isEmpty(), ends);
        }
    }
};

QTEST_GUILESS_MAIN(CacheMaintenanceTest)
#include "CacheMaintenanceTest.moc"
