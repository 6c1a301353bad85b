#include "platform/store/Preferences.h"

#include <csignal>
#include <iostream>
#include <limits>
#include <thread>

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <SQLiteCpp/SQLiteCpp.h>
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
int runChild(const QString& task, const std::string& path) {
    if (task != "full disk"_q && task != "read-only"_q) {
        Preferences preferences(path);
        for (int i = 0; i < 200; ++i)
            preferences.set(task + QString::number(i), std::int64_t(i));
        return 0;
    }
    if (geteuid() == 0 && task == "read-only"_q && (setgid(65534) != 0 || setuid(65534) != 0))
        return 3;
    const Value large = QByteArray(900'000, 'x');
    {
        Preferences preferences(path);
        rlimit limit = {};
        getrlimit(RLIMIT_FSIZE, &limit);
        if (task == "full disk"_q) { // for all that is larger
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
    }
    return task == "read-only"_q || Preferences(path).value("a"_q) == large ? 0 : 6;
}

} // namespace

class PreferencesTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> folder_;
    std::string path_;

    QByteArray fileBytes() const {
        QFile file(QString::fromStdString(path_));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    void overwrite(qint64 offset, const QByteArray& bytes) const {
        QFile file(QString::fromStdString(path_));
        QVERIFY(file.open(QFile::ReadWrite) && file.seek(offset));
        file.write(bytes);
    }

    QStringList files(const QString& names, QDir::Filters kind = QDir::Files) const {
        return QDir(folder_->path()).entryList({names}, kind);
    }

    void start(QProcess& child, const QString& task) const {
        child.start(QCoreApplication::applicationFilePath(),
                    {"--child"_q, task, QString::fromStdString(path_)});
    }

    bool runs(const QString& task) const {
        QProcess child;
        start(child, task);
        return child.waitForFinished() && child.exitCode() == 0;
    }

  private Q_SLOTS:
    void init() {
        folder_ = std::make_unique<QTemporaryDir>();
        path_ = folder_->filePath("preferences.sqlite"_q).toStdString();
    }

    void valuesAreStoredByTypeAndComeBack() {
        const std::tuple<QString, Value, QString> rows[] = {
            // and type, storage class, value
            {"data"_q, QByteArray("\0\xff{}", 4), "data blob 00FF7B7D"_q},
            {"data, empty"_q, QByteArray(""), "data blob "_q},
            {"string"_q, "Bär \U0001F3B8"_q, "string text 42C3A47220F09F8EB8"_q},
            {"strings"_q, QStringList{"/ü"_q, "\"\n"_q},
             "strings text 5B222FC3BC222C225C225C6E225D"_q},
            {"true"_q, true, "bool integer 31"_q},
            {"int"_q, std::numeric_limits<std::int64_t>::min(),
             "int integer 2D39323233333732303336383534373735383038"_q},
            {"double, whole"_q, 15552000.0, "double real 31353535323030302E30"_q},
            {"double"_q, 0.1 + 0.2, "double real 302E33"_q},
            {"settings./Ünï/it's 100%_[a]*?\n\x7f\U0001F600"_q, false, "bool integer 30"_q},
        };
        for (const auto& [key, value, stored] : rows) {
            init();
            {
                Preferences preferences(path_);
                preferences.set(key, "an earlier value"_q);
                preferences.set(key, value);
                QVERIFY2(preferences.value(key) == value, qPrintable(key));
            }
            const Preferences preferences(path_);
            QVERIFY2(preferences.value(key) == value, qPrintable(key));
            QCOMPARE(preferences.keys(), QStringList(key));
            QCOMPARE(OtherProgram(path_).text("SELECT type || ' ' || typeof(value) || ' ' || "
                                              "hex(value) FROM preference"),
                     stored);
        }
    }

    void rowsThatDoNotReadAreAbsent() {
        Preferences preferences(path_);
        OtherProgram(path_).exec(
            "INSERT INTO preference VALUES('1', 'data', 5), ('2', 'string', NULL),"
            "('3', 'strings', '[\"a\", 1]'), ('4', 'strings', '{'), ('5', 'int', 'x'),"
            "('6', 'double', x'00'), ('7', 'bool', 'true'), ('8', 'colour', 1), ('9', '', 1)");
        QCOMPARE(preferences.keys().size(), 9);
        for (const QString& key : preferences.keys())
            QVERIFY2(!preferences.value(key), qPrintable(key));
        preferences.set("whole"_q, 104857600.0);
        QCOMPARE(preferences.integer("whole"_q), std::optional<std::int64_t>(104857600));
        for (const double number : {2.5, 1e19, std::nan("")}) {
            preferences.set("k"_q, number);
            QVERIFY(!preferences.integer("k"_q));
        }
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

    void whatALockPreventedIsTakenOverByTheNextProgram() {
        for (const bool endingIsLater : {false, true}) {
            init();
            Preferences(path_).set("old"_q, true);
            Preferences lasting(path_);
            auto ending = std::make_unique<Preferences>(path_);
            OtherProgram other(path_);
            other.exec("BEGIN IMMEDIATE");
            ending->remove("old"_q);
            (endingIsLater ? lasting : *ending).set("k"_q, "earlier"_q);
            (endingIsLater ? *ending : lasting).set("k"_q, "later"_q);
            const auto start = Clock::now();
            ending.reset();
            QVERIFY(Clock::now() - start < 500ms);
            QVERIFY(!Preferences(path_).value("old"_q)); // a start while the lock is held
            other.exec("ROLLBACK");
            lasting.set("any"_q, true);
            QCOMPARE(other.text("SELECT group_concat(key || value) FROM preference "
                                "WHERE key IN ('k', 'old')"),
                     "klater"_q);
            QCOMPARE(files("*"_q, QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
        }
    }

    void whatALockPreventedIsTakenOverOnce() {
        const QString left = QString::fromStdString(path_ + ".pending");
        OtherProgram other(path_);
        {
            Preferences preferences(path_);
            other.exec("BEGIN IMMEDIATE");
            preferences.set("k"_q, 1.0);
        }
        other.exec("ROLLBACK");
        const QString name = QDir(left).entryList(QDir::Files).value(0);
        QVERIFY(QFile::copy(left + u'/' + name, folder_->filePath(name)));
        Preferences preferences(path_);
        QCOMPARE(other.text("SELECT value FROM preference WHERE key = 'k'"), "1.0"_q);
        preferences.set("k"_q, 2.0);
        // As if the program had been killed before it removed the file.
        QVERIFY(QDir().mkpath(left) && QFile::copy(folder_->filePath(name), left + u'/' + name));
        QCOMPARE(Preferences(path_).real("k"_q), std::optional(2.0));
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
        start(children[0], "a"_q);
        start(children[1], "b"_q);
        for (auto& child : children)
            QVERIFY(child.waitForFinished() && child.exitCode() == 0);
        QCOMPARE(Preferences(path_).keys().size(), 400);
    }

    void storeThatCannotBeWrittenNeverStopsTheProgram() {
        QVERIFY(runs("full disk"_q));
        init();
        Preferences(path_).set("old"_q, true);
        const QByteArray before = fileBytes();
        std::filesystem::permissions(path_, std::filesystem::perms(0444));
        std::filesystem::permissions(folder_->path().toStdString(), std::filesystem::perms(0555));
        QVERIFY(runs("read-only"_q));
        std::filesystem::permissions(folder_->path().toStdString(), std::filesystem::perms(0755));
        QCOMPARE(fileBytes(), before);
        QCOMPARE(files("*"_q).size(), 1);
    }

    void damagedFileIsMovedAside() {
        struct Damage {
            qint64 size;   // after it; -1 for all of it
            qint64 offset; // of what is overwritten; -1 for nothing
            bool isMovedAside = true;
        };
        for (const Damage damage : {Damage{-1, 0}, {5000, -1}, {-1, 100}, {0, -1, false}}) {
            init();
            Preferences(path_).set("before"_q, QByteArray(20'000, 'x'));
            if (damage.size >= 0)
                QFile::resize(QString::fromStdString(path_), damage.size);
            if (damage.offset >= 0)
                overwrite(damage.offset, QByteArray(3'000, '\xa5'));
            const QByteArray damaged = fileBytes();
            {
                Preferences preferences(path_);
                QVERIFY(preferences.keys().isEmpty());
                preferences.set("k"_q, true);
            }
            QCOMPARE(Preferences(path_).keys(), QStringList("k"_q));
            const QStringList aside = files("*.damaged-*"_q);
            QCOMPARE(aside.size(), damage.isMovedAside ? 1 : 0);
            for (const QString& name : aside) {
                path_ = folder_->filePath(name).toStdString();
                QCOMPARE(fileBytes(), damaged);
            }
        }
    }

    void fileMadeToDoHarmIsMovedAside() {
        const std::string endless =
            "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) ";
        std::string tables;
        for (int i = 0; i < 300; ++i)
            tables += "CREATE TABLE t" + std::to_string(i) + "(a);";
        const std::pair<std::string, bool> harms[] = {
            // and whether there is something left to rescue
            {"DROP TABLE preference; CREATE VIEW preference AS " + endless +
                 "SELECT 'k' AS key, 'data' AS type, x AS value FROM c",
             false},
            {"CREATE TRIGGER t BEFORE INSERT ON preference BEGIN INSERT INTO preference " +
                 endless + "SELECT x, '', x FROM c; END",
             false},
            {"CREATE INDEX i ON preference(hex(zeroblob(1 + length(key))))", false},
            {"DROP TABLE preference", false},
            {tables, false},
            {"INSERT INTO preference VALUES('k', 'strings', CAST(zeroblob(2000000) AS TEXT))",
             true},
        };
        for (const auto& [sql, isRescued] : harms) {
            init();
            {
                Preferences(path_).set("old"_q, true);
                OtherProgram other(path_);
                other.exec(sql);
            }
            Preferences preferences(path_);
            QVERIFY2(!preferences.value("k"_q), sql.c_str());
            preferences.set("k"_q, true);
            QCOMPARE(OtherProgram(path_).text("SELECT group_concat(key) FROM preference"),
                     isRescued ? "k,old"_q : "k"_q);
            QCOMPARE(files("*.damaged-*"_q).size(), 1);
        }
    }

    void valueTooLongToBeReadPreventsNoOther() {
        Preferences preferences(path_);
        OtherProgram other(path_);
        other.exec("BEGIN IMMEDIATE");
        preferences.set("long"_q, QByteArray(2'000'000, 'x'));
        preferences.set("k"_q, true);
        other.exec("ROLLBACK");
        preferences.set("l"_q, true);
        QCOMPARE(Preferences(path_).keys(), (QStringList{"k"_q, "l"_q}));
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
        QCOMPARE(files("*.damaged-*"_q).size(), 1);
        preferences.set("k"_q, true);
        QCOMPARE(Preferences(path_).keys().size(), saved + 1);
    }

    void laterVersionsStoreIsLeftAlone() {
        {
            Preferences(path_).set("k"_q, true);
            OtherProgram(path_).exec("PRAGMA user_version = 2");
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
        QCOMPARE(files("*"_q), QStringList("preferences.sqlite"_q));
    }
};

int main(int argc, char** argv) {
    if (argc > 3 && std::string(argv[1]) == "--child")
        return runChild(QString::fromUtf8(argv[2]), argv[3]);
    QCoreApplication application(argc, argv);
    PreferencesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PreferencesTest.moc"
