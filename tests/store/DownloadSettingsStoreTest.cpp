#include "store/DownloadSettingsStore.h"

#include <QDir>
#include <QTest>

#include "app/FolderText.h"
#include "support/TemporarySettings.h"

using namespace ambrel;

class DownloadSettingsStoreTest : public QObject {
    Q_OBJECT

  private:
    test::TemporarySettings settings_;
    Preferences& preferences_ = settings_.preferences();
    DownloadSettingsStore& store_ = settings_.downloads();
    const QString key_ = u"AMB.downloadDirectory"_qs;
    const QString default_ = QDir::homePath() + u"/Downloads"_qs;

    QString path() const { return store_.downloadDirectory().toLocalFile(); }

  private Q_SLOTS:
    void keepsThePathUntilReset() {
        QCOMPARE(path(), default_);
        for (const QString& folder :
             {u"/Volumes/Data/Audio"_qs, u"/100%25 #1? [x]:'\"\n\U0001F3B8"_qs, u"/"_qs}) {
            store_.setDownloadDirectory(QUrl::fromLocalFile(folder));
            QCOMPARE(preferences_.value(key_), Preferences::Value(folder));
            QCOMPARE(path(), folder);
        }
        store_.setDownloadDirectory(QUrl::fromLocalFile(u"/a b/"_qs));
        QCOMPARE(path(), u"/a b"_qs);
        store_.resetDownloadDirectory();
        QVERIFY(!preferences_.value(key_));
        QCOMPARE(path(), default_);
    }

    void whatIsNoTextReadsAsTheStoreReadsTexts() {
        const std::pair<Preferences::Value, QString> cases[] = {
            {std::int64_t(-17), u"-17"_qs},
            {2.5, u"2.5"_qs},
            {true, default_},
            {QByteArray("/a"), default_},
            {QStringList{u"/a"_qs}, default_},
        };
        for (const auto& [value, expected] : cases) {
            preferences_.set(key_, value);
            QCOMPARE(path(), expected);
        }
    }

    void homeIsShownAsTildeUnlessItIsTheRoot() {
        const QByteArray usual = qgetenv("HOME");
        struct Case {
            const char *home, *folder, *text; // no folder: the default one
        };
        for (const auto& [home, folder, text] : {Case{"/home/me", "/home/me", "~"},
                                                 {"/home/me", nullptr, "~/Downloads"},
                                                 {"/home/me", "/home/me2/Music", "/home/me2/Music"},
                                                 {"/home/me", "/mnt/home/me", "/mnt/home/me"},
                                                 {"/", "/", "/"},
                                                 {"/", nullptr, "/Downloads"},
                                                 {"", nullptr, "/Downloads"}}) {
            qputenv("HOME", home);
            const QUrl shown = folder ? QUrl::fromLocalFile(QString::fromLatin1(folder))
                                      : store_.downloadDirectory();
            QCOMPARE(folderText(shown), QString::fromLatin1(text));
        }
        qputenv("HOME", usual);
    }
};

QTEST_GUILESS_MAIN(DownloadSettingsStoreTest)
#include "DownloadSettingsStoreTest.moc"
