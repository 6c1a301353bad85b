#include "platform/store/Preferences.h"

#include <csignal>
#include <iostream>

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <SQLiteCpp/SQLiteCpp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace ambrel;
using Value = Preferences::Value;

namespace {

QString operator""_q(const char* text, std::size_t size) {
    return QString::fromUtf8(text, qsizetype(size));
}

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

/// What a disk and other programs do to the store.
class PreferencesFaultsTest : public QObject {
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
            SQLite::Database other(path_, SQLite::OPEN_READWRITE);
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
};

int main(int argc, char** argv) {
    if (argc > 4 && std::string(argv[1]) == "--child")
        return runChild(argv[2], argv[3], argv[4]);
    QCoreApplication application(argc, argv);
    PreferencesFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PreferencesFaultsTest.moc"
