#include "platform/store/Preferences.h"

#include <cmath>
#include <limits>
#include <thread>

#include <QTemporaryDir>
#include <QTest>
#include <SQLiteCpp/SQLiteCpp.h>

using namespace ambrel;
using namespace std::chrono_literals;
using Value = Preferences::Value;
using Clock = std::chrono::steady_clock;

namespace {

QString operator""_q(const char* text, std::size_t size) {
    return QString::fromUtf8(text, qsizetype(size));
}

/// A second opinion on what lies in the file, and the other process that holds a lock.
struct OtherProgram : SQLite::Database {
    explicit OtherProgram(const std::string& path)
        : SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, 5000) {}

    QString text(const char* query) {
        return QString::fromStdString(execAndGet(query).getString());
    }
};

} // namespace

class PreferencesTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> folder_;
    std::string path_;

  private Q_SLOTS:
    void init() {
        folder_ = std::make_unique<QTemporaryDir>();
        path_ = folder_->filePath("preferences.sqlite"_q).toStdString();
    }

    void valuesAreStoredByTypeAndComeBack_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<Value>("value");
        QTest::addColumn<QString>("row"); // type, storage class, value
        const auto row = [](const QString& key, const Value& value, const QString& stored) {
            QTest::newRow(qPrintable(key)) << key << value << stored;
        };
        row("data"_q, QByteArray("\0\xff{}", 4), "data blob 00FF7B7D"_q);
        row("data, empty"_q, QByteArray(""), "data blob "_q);
        row("string"_q, "Bär \U0001F3B8"_q, "string text 42C3A47220F09F8EB8"_q);
        row("string, empty"_q, ""_q, "string text "_q);
        row("strings"_q, QStringList{"/a b.mp3"_q, "\"\n"_q}, {});
        row("strings, empty"_q, QStringList(), "strings text 5B5D"_q);
        row("true"_q, true, "bool integer 31"_q);
        row("false"_q, false, "bool integer 30"_q);
        row("int"_q, std::numeric_limits<std::int64_t>::min(), {});
        row("int, not bool"_q, std::int64_t(1), "int integer 31"_q);
        row("double"_q, 0.1 + 0.2, {});
        row("double, whole"_q, 15552000.0, "double real 31353535323030302E30"_q);
        row("settings./Ünï/it's 100%_[a]*?\n\x7f\U0001F600"_q, true, {});
        row(""_q, true, {});
    }

    void valuesAreStoredByTypeAndComeBack() {
        QFETCH(QString, key);
        QFETCH(Value, value);
        QFETCH(QString, row);
        {
            Preferences preferences(path_);
            preferences.set(key, "an earlier value"_q);
            preferences.set(key, value);
            QVERIFY(preferences.value(key) == value);
        }
        const Preferences preferences(path_);
        QVERIFY(preferences.value(key) == value);
        QCOMPARE(preferences.keys(), QStringList(key));
        OtherProgram other(path_);
        if (!row.isEmpty())
            QCOMPARE(other.text("SELECT type || ' ' || typeof(value) || ' ' || hex(value) "
                                "FROM preference"),
                     row);
        QCOMPARE(other.text("PRAGMA journal_mode"), "wal"_q);
        QCOMPARE(other.text("PRAGMA user_version"), "1"_q);
    }

    void readersTakeOneNumberForTheOther() {
        Preferences preferences(path_);
        preferences.set("whole"_q, 104857600.0);
        preferences.set("int"_q, std::int64_t(0));
        preferences.set("broken"_q, 2.5);
        preferences.set("beyond"_q, 1e19);
        preferences.set("nan"_q, std::nan(""));
        preferences.set("bool"_q, true);
        QCOMPARE(preferences.integer("whole"_q), std::optional<std::int64_t>(104857600));
        QCOMPARE(preferences.real("int"_q), std::optional<double>(0));
        for (const auto& key : {"broken"_q, "beyond"_q, "nan"_q, "bool"_q, "absent"_q})
            QVERIFY2(!preferences.integer(key), qPrintable(key));
        QVERIFY(!preferences.real("bool"_q));
        QVERIFY(!preferences.boolean("int"_q));
        QVERIFY(!preferences.data("absent"_q));
    }

    void rowsThatDoNotReadAreAbsent() {
        Preferences preferences(path_);
        OtherProgram other(path_);
        other.exec(
            "INSERT INTO preference VALUES('1', 'data', 5), ('2', 'string', NULL),"
            "('3', 'strings', '[\"a\", 1]'), ('4', 'strings', '{'), ('5', 'int', 'x'),"
            "('6', 'double', x'00'), ('7', 'bool', 'true'), ('8', 'colour', 1), ('9', '', 1)");
        QCOMPARE(preferences.keys().size(), 9);
        for (const QString& key : preferences.keys())
            QVERIFY2(!preferences.value(key), qPrintable(key));
    }

    void prefixIsTakenByteForByte() {
        Preferences preferences(path_);
        const QStringList ours = {"a_c."_q, "a_c./%x"_q, "a_c.1"_q, "a_c.\U0010FFFF"_q};
        for (const QString& key :
             ours + QStringList{"abc.1"_q, "A_C.1"_q, "a_c"_q, "a_cX"_q, "b"_q})
            preferences.set(key, true);
        QCOMPARE(preferences.keys("a_c."_q), ours);
        preferences.removeAll("a_c."_q);
        QCOMPARE(preferences.keys(), QStringList({"A_C.1"_q, "a_c"_q, "a_cX"_q, "abc.1"_q, "b"_q}));
    }

    void heldLockDelaysNoCallAndLosesNothing() {
        Preferences preferences(path_);
        preferences.set("old"_q, true);
        OtherProgram other(path_);
        other.exec("BEGIN IMMEDIATE");
        auto shortest = Clock::duration::max();
        for (std::int64_t i = 0; i < 8; ++i) {
            const auto start = Clock::now();
            preferences.set("k"_q, i);
            shortest = std::min(shortest, Clock::now() - start);
        }
        preferences.remove("old"_q);
        QVERIFY(shortest < 25ms);
        QCOMPARE(preferences.integer("k"_q), std::optional<std::int64_t>(7));
        QVERIFY(!preferences.value("old"_q));
        QCOMPARE(preferences.keys(), QStringList("k"_q));
        QCOMPARE(other.text("SELECT group_concat(key) FROM preference"), "old"_q);
        other.exec("COMMIT");
        preferences.set("k"_q, std::int64_t(8)); // takes along what was kept
        QCOMPARE(other.text("SELECT group_concat(key || value) FROM preference"), "k8"_q);
    }

    void endWaitsForAHeldLockButNotForEver() {
        auto preferences = std::make_unique<Preferences>(path_);
        OtherProgram other(path_);
        other.exec("BEGIN IMMEDIATE");
        preferences->set("k"_q, true);
        std::jthread releaser([&] {
            std::this_thread::sleep_for(100ms);
            other.exec("ROLLBACK");
        });
        preferences.reset();
        releaser.join();
        QCOMPARE(other.text("SELECT count(*) FROM preference"), "1"_q);

        preferences = std::make_unique<Preferences>(path_);
        other.exec("BEGIN IMMEDIATE");
        preferences->set("lost"_q, true);
        const auto start = Clock::now();
        preferences.reset();
        QVERIFY(Clock::now() - start < 1s);
    }

    void storeLockedWhileItOpensIsUsedLater() {
        OtherProgram other(path_);
        other.exec("BEGIN EXCLUSIVE; CREATE TABLE unrelated(x)");
        Preferences preferences(path_);
        preferences.set("k"_q, 2.5);
        QCOMPARE(preferences.real("k"_q), std::optional<double>(2.5));
        other.exec("COMMIT");
        QTRY_VERIFY(other.tableExists("preference"));
        QTRY_COMPARE(other.text("SELECT count(*) FROM preference"), "1"_q);
    }

    void logIsMovedIntoTheDatabaseMeanwhile() {
        Preferences preferences(path_);
        for (int i = 0; i < 40; ++i)
            preferences.set("waveformCache.%1"_q.arg(i), QByteArray(50'000, 'w'));
        const QString file = QString::fromStdString(path_);
        QTRY_VERIFY(QFileInfo(file).size() > 1'000'000);
        preferences.removeAll("waveformCache."_q);
        QVERIFY(preferences.keys().isEmpty());
    }

    void defaultPathFollowsTheEnvironment() {
        qputenv("HOME", "/home/ann");
        qputenv("XDG_DATA_HOME", "/data/ü");
        QCOMPARE(Preferences::defaultPath(),
                 std::filesystem::path("/data/ü/ambrel/preferences.sqlite"));
        qputenv("XDG_DATA_HOME", "relative");
        const std::filesystem::path usual = "/home/ann/.local/share/ambrel/preferences.sqlite";
        QCOMPARE(Preferences::defaultPath(), usual);
        qunsetenv("XDG_DATA_HOME");
        QCOMPARE(Preferences::defaultPath(), usual);
    }
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "PreferencesTest.moc"
