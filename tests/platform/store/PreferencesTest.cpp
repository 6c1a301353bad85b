#include "platform/store/Preferences.h"

#include <cmath>
#include <iostream>
#include <limits>
#include <thread>

#include <QProcess>
#include <QTest>
#include <SQLiteCpp/SQLiteCpp.h>
#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

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

/// What a child of this test does with the store, named by its first argument.
int runChild(const std::string& task, const std::string& path, const std::string& name) {
    if (task == "write") { // prints a number once its write has returned
        Preferences preferences(path);
        for (int i = 0; i < 200; ++i) {
            preferences.set(QString::fromStdString(name) + QString::number(i), std::int64_t(i));
            std::cout << i << std::endl;
        }
        return 0;
    }
    if (geteuid() == 0 && task == "read-only" && (setgid(65534) != 0 || setuid(65534) != 0))
        return 3;
    const std::string folder = std::filesystem::path(path).parent_path();
    const bool hasDisk = task == "full disk" && unshare(CLONE_NEWNS) == 0 &&
                         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount("none", folder.c_str(), "tmpfs", 0, "size=1m") == 0;
    const Value large = QByteArray(1'500'000, 'x');
    {
        Preferences preferences(path);
        rlimit limit = {};
        getrlimit(RLIMIT_FSIZE, &limit);
        if (task == "full disk" && !hasDisk) { // full for all that is larger
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit small = {100'000, limit.rlim_max};
            setrlimit(RLIMIT_FSIZE, &small);
        }
        preferences.set("a"_q, large);
        preferences.set("b"_q, true);
        preferences.remove("b"_q);
        if (preferences.value("a"_q) != large || preferences.value("b"_q))
            return 4;
        setrlimit(RLIMIT_FSIZE, &limit); // and there is room at the end
        if (hasDisk && mount("none", folder.c_str(), "tmpfs", MS_REMOUNT, "size=9m") != 0)
            return 5;
    }
    return task == "read-only" || Preferences(path).value("a"_q) == large ? 0 : 6;
}

} // namespace

class PreferencesTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> folder_;
    std::string path_;

    static QStringList childArguments(const char* task, const std::string& path,
                                      const char* name = "") {
        return {"--child"_q, QString::fromUtf8(task), QString::fromStdString(path),
                QString::fromUtf8(name)};
    }

    QByteArray fileBytes() const {
        QFile file(QString::fromStdString(path_));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    void overwrite(qint64 offset, const QByteArray& bytes) const {
        QFile file(QString::fromStdString(path_));
        QVERIFY(file.open(QFile::ReadWrite));
        file.seek(offset);
        file.write(bytes);
    }

    QStringList damagedFiles() const {
        return QDir(folder_->path()).entryList({"preferences.sqlite.damaged-*"_q});
    }

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
        const QStringList ours = {"a_c.1"_q, "a_c./%x"_q, "a_c."_q, "a_c.\U0010FFFF"_q};
        for (const QString& key :
             ours + QStringList{"abc.1"_q, "A_C.1"_q, "a_c"_q, "a_cX"_q, "b"_q})
            preferences.set(key, true);
        QStringList found = preferences.keys("a_c."_q);
        found.sort();
        QStringList wanted = ours;
        wanted.sort();
        QCOMPARE(found, wanted);
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
        QTRY_COMPARE(other.text("SELECT group_concat(key || value) FROM preference"), "k7"_q);
    }

    void writeTakesAlongWhatWasKept() {
        Preferences preferences(path_);
        OtherProgram other(path_);
        other.exec("BEGIN IMMEDIATE");
        preferences.set("first"_q, true);
        other.exec("ROLLBACK");
        preferences.set("second"_q, true);
        QCOMPARE(other.text("SELECT count(*) FROM preference"), "2"_q);
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

    void threadsReadAndWriteAtOnce() {
        Preferences preferences(path_);
        std::vector<std::jthread> threads;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&preferences, t] {
                const QString prefix = "thread%1."_q.arg(t);
                for (std::int64_t i = 0; i < 50; ++i) {
                    preferences.set(prefix + QString::number(i), i);
                    preferences.set("shared"_q, i);
                    if (preferences.keys(prefix).size() != i + 1)
                        preferences.set("failed"_q, true);
                }
            });
        }
        for (std::int64_t i = 0; i < 50; ++i)
            preferences.set("main.%1"_q.arg(i), i);
        threads.clear();
        QCOMPARE(preferences.integer("shared"_q), std::optional<std::int64_t>(49));
        QCOMPARE(preferences.keys().size(), 4 * 50 + 1);
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

    void twoProgramsMakeAndFillOneStore() {
        std::array<QProcess, 2> children;
        for (const char* name : {"a", "b"}) {
            auto& child = children[*name - 'a'];
            child.start(QCoreApplication::applicationFilePath(),
                        childArguments("write", path_, name));
        }
        for (auto& child : children) {
            QVERIFY(child.waitForFinished());
            QCOMPARE(child.exitCode(), 0);
        }
        Preferences first(path_);
        Preferences second(path_);
        QCOMPARE(first.keys().size(), 400);
        first.set("a1"_q, "first"_q);
        second.set("a1"_q, "later"_q);
        QCOMPARE(first.string("a1"_q), std::optional("later"_q));
    }

    void storeThatCannotBeWrittenNeverStopsTheProgram() {
        const auto runs = [this](const char* task) {
            return QProcess::execute(QCoreApplication::applicationFilePath(),
                                     childArguments(task, path_)) == 0;
        };
        QVERIFY(runs("full disk"));
        QFile::remove(QString::fromStdString(path_));
        Preferences(path_).set("old"_q, true);
        const QByteArray before = fileBytes();
        std::filesystem::permissions(path_, std::filesystem::perms(0444));
        std::filesystem::permissions(folder_->path().toStdString(), std::filesystem::perms(0555));
        QVERIFY(runs("read-only"));
        std::filesystem::permissions(folder_->path().toStdString(), std::filesystem::perms(0755));
        QCOMPARE(fileBytes(), before);
        QCOMPARE(QDir(folder_->path()).entryList(QDir::Files).size(), 1);
    }

    void damagedFileIsMovedAside_data() {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<bool>("isDamage");
        QTest::newRow("no database at all") << qint64(-1) << qint64(0) << true;
        QTest::newRow("cut") << qint64(5000) << qint64(-1) << true;
        QTest::newRow("schema overwritten") << qint64(-1) << qint64(100) << true;
        QTest::newRow("empty") << qint64(0) << qint64(-1) << false;
    }

    void damagedFileIsMovedAside() {
        QFETCH(qint64, size);
        QFETCH(qint64, offset);
        QFETCH(bool, isDamage);
        Preferences(path_).set("before"_q, QByteArray(20'000, 'x'));
        if (size >= 0)
            QFile::resize(QString::fromStdString(path_), size);
        if (offset >= 0)
            overwrite(offset, QByteArray(3'000, '\xa5'));
        const QByteArray damaged = fileBytes();
        {
            Preferences preferences(path_);
            QVERIFY(preferences.keys().isEmpty());
            preferences.set("k"_q, true);
        }
        QCOMPARE(Preferences(path_).keys(), QStringList("k"_q));
        QCOMPARE(damagedFiles().size(), isDamage ? 1 : 0);
        if (isDamage) {
            QFile kept(folder_->filePath(damagedFiles().constFirst()));
            QVERIFY(kept.open(QFile::ReadOnly));
            QCOMPARE(kept.readAll(), damaged);
        }
    }

    void whatReadsOfADamagedFileIsSaved() {
        {
            Preferences preferences(path_);
            for (int i = 0; i < 300; ++i)
                preferences.set("settings./%1"_q.arg(i), QByteArray(300, 'x'));
        }
        overwrite(10 * 4096, QByteArray(4096, '\xa5')); // one page of about 12 records
        Preferences preferences(path_);
        int saved = 0;
        for (int pass = 0; pass < 2; ++pass) { // the first one comes upon the damage
            saved = 0;
            for (int i = 0; i < 300; ++i)
                saved += preferences.data("settings./%1"_q.arg(i)).has_value();
        }
        QVERIFY2(saved > 250 && saved < 300, qPrintable(QString::number(saved)));
        QCOMPARE(damagedFiles().size(), 1);
        preferences.set("k"_q, true);
        QCOMPARE(Preferences(path_).keys().size(), saved + 1);
    }

    void laterVersionsStoreIsLeftAlone() {
        {
            Preferences(path_).set("k"_q, true);
            OtherProgram other(path_);
            other.exec("PRAGMA user_version = 2");
        }
        const QByteArray before = fileBytes();
        {
            Preferences preferences(path_);
            QVERIFY(!preferences.value("k"_q));
            preferences.set("new"_q, "text"_q);
            QCOMPARE(preferences.string("new"_q), std::optional("text"_q));
            QCOMPARE(preferences.keys(), QStringList("new"_q));
        }
        QCOMPARE(fileBytes(), before);
        QCOMPARE(QDir(folder_->path()).entryList(QDir::Files), QStringList("preferences.sqlite"_q));
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

int main(int argc, char** argv) {
    if (argc > 4 && std::string(argv[1]) == "--child")
        return runChild(argv[2], argv[3], argv[4]);
    QCoreApplication application(argc, argv);
    PreferencesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PreferencesTest.moc"
