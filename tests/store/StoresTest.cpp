#include <cmath>

#include <QDir>
#include <QTest>

#include "support/TemporarySettings.h"

using namespace ambrel;
using Value = Preferences::Value;

/// The settings of each file, the recent files and the download folder, as they are stored.
class StoresTest : public QObject {
    Q_OBJECT

  private:
    test::TemporarySettings settings_;
    Preferences& preferences_ = settings_.preferences();
    const QString oddPath_ = u"/Ünï/100%25 #1? [x]:'\"\n\U0001F3B8"_qs;
    const QUrl odd_ = QUrl::fromLocalFile(oddPath_);

  private Q_SLOTS:
    void cleanup() { preferences_.removeAll(QString()); }

    void settingsLieUnderTheDecodedPath() {
        for (const auto& [file, path] :
             {std::pair(odd_, oddPath_), {QUrl(u"http://h/a%20b.mp3?q#f"_qs), u"/a b.mp3"_qs}}) {
            settings_.store().save({.pitch = 7}, file);
            QVERIFY(preferences_.data(u"settings."_qs + path));
            QCOMPARE(settings_.store().load(file), FileSettings{.pitch = 7});
        }
        settings_.store().save({.pitch = std::nan("")}, odd_);
        QCOMPARE(settings_.store().load(odd_), FileSettings{.pitch = 7});
    }

    void recentFilesAreTheLastTenNewestFirst() {
        preferences_.set(u"recentFiles"_qs, u"[\"/a\"]"_qs); // no list of texts
        QVERIFY(settings_.recentFiles().all().isEmpty());
        preferences_.set(u"recentFiles"_qs, QStringList(10'000, u"/b"_qs)); // not by Ambrel
        QCOMPARE(settings_.recentFiles().all().size(), 10);
        settings_.recentFiles().clear();
        for (const char letter : std::string("abcdefghijgk"))
            settings_.recentFiles().push(QUrl::fromLocalFile(u"/%1"_qs.arg(QLatin1Char(letter))));
        QCOMPARE(preferences_.strings(u"recentFiles"_qs).value().join(QString()),
                 u"/k/g/j/i/h/f/e/d/c/b"_qs);
        settings_.recentFiles().push(odd_);
        QCOMPARE(settings_.recentFiles().all().first(), odd_);
    }

    void theDownloadFolderIsTheOneSetOrTheDefault() {
        DownloadSettingsStore& store = settings_.downloads();
        for (const auto& [folder, stored] :
             {std::pair(oddPath_, oddPath_), {u"/a b/"_qs, u"/a b"_qs}, {u"/"_qs, u"/"_qs}}) {
            store.setDownloadDirectory(QUrl::fromLocalFile(folder));
            QCOMPARE(preferences_.value(u"AMB.downloadDirectory"_qs), Value(stored));
            QCOMPARE(store.downloadDirectory().toLocalFile(), stored);
        }
        for (const Value& bad : {Value(true), Value(QByteArray("/a")), Value(QString())}) {
            preferences_.set(u"AMB.downloadDirectory"_qs, bad);
            QCOMPARE(store.downloadDirectory().toLocalFile(), QDir::homePath() + u"/Downloads"_qs);
        }
    }
};

QTEST_GUILESS_MAIN(StoresTest)
#include "StoresTest.moc"
