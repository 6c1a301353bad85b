#include "store/SettingsStore.h"

#include <cmath>

#include <QTest>

#include "platform/store/Preferences.h"

using namespace ambrel;

class SettingsStoreTest : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir folder_;
    Preferences preferences_{folder_.filePath(QStringLiteral("p.sqlite")).toStdString()};
    SettingsStore store_{preferences_};

    static FileSettings withPitch(double pitch) {
        FileSettings settings;
        settings.pitch = pitch;
        return settings;
    }

  private Q_SLOTS:
    void cleanup() { preferences_.removeAll(QString()); }

    void recordLiesUnderTheDecodedPath_data() {
        QTest::addColumn<QUrl>("file");
        QTest::addColumn<QString>("key");
        const auto local = [](const char* name, const QString& path) {
            QTest::newRow(name) << QUrl::fromLocalFile(path) << QStringLiteral("settings.") + path;
        };
        local("plain", QStringLiteral("/Users/ann/Music/solo.m4a"));
        local("signs", QStringLiteral("/a b/100%25 #1? [x]:'\"\n.mp3"));
        local("other scripts", QStringLiteral("/Ünï/\U0001F3B8.flac"));
        QTest::newRow("host and query") << QUrl(QStringLiteral("http://h/a%20b.mp3?q#f"))
                                        << QStringLiteral("settings./a b.mp3");
    }

    void recordLiesUnderTheDecodedPath() {
        QFETCH(QUrl, file);
        QFETCH(QString, key);
        store_.save(withPitch(7), file);
        QCOMPARE(preferences_.keys(), QStringList(key));
        QVERIFY(preferences_.data(key));
        QVERIFY(store_.load(file) == withPitch(7));
        QUrl same;
        same.setPath(file.path(QUrl::FullyDecoded), QUrl::DecodedMode);
        QVERIFY(store_.load(same) == withPitch(7));
    }

    void badRecordIsAbsentAndStays() {
        const QUrl file = QUrl::fromLocalFile(QStringLiteral("/a.mp3"));
        const QString key = QStringLiteral("settings./a.mp3");
        QVERIFY(!store_.load(file));
        for (const Preferences::Value& bad :
             {Preferences::Value(QByteArray("{}")), Preferences::Value(QStringLiteral("{}"))}) {
            preferences_.set(key, bad);
            QVERIFY(!store_.load(file));
            QVERIFY(preferences_.value(key) == bad);
        }
        store_.save(withPitch(1), file);
        store_.save(withPitch(std::nan("")), file);
        QVERIFY(store_.load(file) == withPitch(1));
    }

    void clearAllRemovesRecordsOnly() {
        store_.save({}, QUrl::fromLocalFile(QStringLiteral("/a.mp3")));
        store_.save({}, QUrl::fromLocalFile(QStringLiteral("/b.wav")));
        const QStringList others = {QStringLiteral("Settings./a.mp3"),
                                    QStringLiteral("recentFiles"), QStringLiteral("settingsX")};
        for (const QString& key : others)
            preferences_.set(key, true);
        store_.clearAll();
        QCOMPARE(preferences_.keys(), others);
    }
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "SettingsStoreTest.moc"
