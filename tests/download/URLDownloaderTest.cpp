#include "download/URLDownloader.h"

#include <csignal>
#include <fstream>

#include <QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include "download/DownloadError.h"
#include "platform/desktop/MainQueue.h"

using namespace ambrel;
namespace fs = std::filesystem;

namespace {

const QString kNoHelper = QStringLiteral("Download helper not found inside the app bundle.");
const QString kNoFfmpeg = QStringLiteral("ffmpeg not found inside the app bundle.");
const QString kNoFile = QStringLiteral("Download succeeded but no output file path was reported.");
const QString kNoAddress = QStringLiteral("This is not a web address.");

/// A folder with a helper that does what a script says, and an ffmpeg that nobody runs.
struct Helpers {
    QTemporaryDir folder;
    QTemporaryDir downloads;
    MainQueue queue;
    std::unique_ptr<URLDownloader> downloader =
        std::make_unique<URLDownloader>(queue, folder.path());

    explicit Helpers(const QByteArray& script = {}) {
        if (!script.isNull())
            put("my-executable", "#!/bin/sh\n" + script);
        put("ffmpeg", "#!/bin/sh\n");
    }

    void put(const char* name, const QByteArray& content, int mode = 0700) const {
        const fs::path file = fs::path(folder.path().toStdString()) / name;
        std::ofstream(file) << content.toStdString();
        fs::permissions(file, fs::perms(mode));
    }

    void remove(const char* name) const { QFile::remove(folder.filePath(QLatin1String(name))); }
};

/// One download on its way.
struct Download {
    bool isDone = false;
    QUrl file;
    QString failure;

    QCoro::Task<> run(URLDownloader& downloader, QUrl source, QUrl directory) {
        try {
            auto downloading = downloader.download(source, directory);
            file = co_await downloading;
        } catch (const BackgroundQueue::Ended&) {
            failure = QStringLiteral("ended");
        } catch (const std::exception& error) {
            failure = QString::fromUtf8(error.what());
        }
        isDone = true;
    }

    Download(const Helpers& helpers, const QString& source = QStringLiteral("http://a/b"))
        : Download(helpers, source, QUrl::fromLocalFile(helpers.downloads.path())) {}

    Download(const Helpers& helpers, const QString& source, const QUrl& directory) {
        run(*helpers.downloader, QUrl(source), directory);
    }
};

} // namespace

/// The downloader with scripts in the helper's place, where a fault must be exact.
class URLDownloaderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void takesTheHelpersWord_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("failure");
        const auto succeeds = [](const char* name, const char* script, const QString& file) {
            QTest::newRow(name) << QByteArray(script) << file << QString();
        };
        const auto fails = [](const char* name, const char* script, const QString& failure) {
            QTest::newRow(name) << QByteArray(script) << QString() << failure;
        };
        succeeds("blanks around", "echo '  /Users/x/Downloads/Song.m4a '; echo",
                 u"/Users/x/Downloads/Song.m4a"_qs);
        succeeds("in two writes", "printf '/a b/S\\303'; sleep 0.2; printf '\\266ng.m4a'",
                 u"/a b/Söng.m4a"_qs);
        succeeds("as it is", "printf '/x/<b>../\\033[1m%%41#?\\na'; echo warning >&2",
                 u"/x/<b>../\033[1m%41#?\na"_qs);
        succeeds("a child that outlives it", "sleep 100 & echo /x", u"/x"_qs);
        fails("silence", "exit 0", kNoFile);
        fails("blanks alone", "printf ' \\t\\n'", kNoFile);
        fails("no text", "printf '/x\\377.m4a'", kNoFile);
        fails("failure with blanks alone", "printf ' \\n\\n' >&2; exit 2",
              u"Download failed (exit code 2)."_qs);
        fails("failure in words",
              "echo /x; printf '\\n ERROR: \"<b>gone</b>\"\\nfor good\\n' >&2; exit 1",
              u"Download failed: ERROR: \"<b>gone</b>\"\nfor good"_qs);
        fails("failure in no text", "printf '\\377' >&2; exit 1",
              u"Download failed (exit code 1)."_qs);
        fails("a signal", "kill -KILL $$", u"Download failed (exit code 9)."_qs);
    }
    void takesTheHelpersWord() {
        QFETCH(QByteArray, script);
        QFETCH(QString, file);
        const Helpers helpers(script);
        const Download download(helpers);
        QVERIFY(!download.isDone);
        QTRY_VERIFY(download.isDone);
        QTEST(download.failure, "failure");
        QCOMPARE(download.file, file.isEmpty() ? QUrl() : QUrl::fromLocalFile(file));
    }

    void givesTheHelperItsElevenArguments() {
        const Helpers helpers("printf '%s|' \"$#\" \"$@\" >&2; exit 1");
        const QString folder = helpers.downloads.filePath(u"for  me/ü $HOME"_qs);
        const Download download(helpers, u"https://ü.example/a b?v=1&w=%20#t"_qs,
                                QUrl::fromLocalFile(folder + u'/'));
        QTRY_VERIFY(download.isDone);
        QCOMPARE(download.failure,
                 u"Download failed: 11|-x|--no-playlist|--audio-format|m4a|--ffmpeg-location|%1|"
                 "--print|after_move:filepath|-o|%2/%(title)s.%(ext)s|"
                 "https://xn--tda.example/a%20b?v=1&w=%20#t|"_qs.arg(
                     helpers.folder.filePath(u"ffmpeg"_qs), folder));
    }

    void failsBeforeAnythingIsStarted_data() {
        QTest::addColumn<int>("helper"); // its mode; -1 for none
        QTest::addColumn<int>("ffmpeg");
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("failure");
        const QString address = QStringLiteral("http://a/b");
        QTest::newRow("neither") << -1 << -1 << address << kNoHelper;
        QTest::newRow("not executable") << 0600 << -1 << address << kNoHelper;
        QTest::newRow("no ffmpeg") << 0700 << -1 << address << kNoFfmpeg;
        QTest::newRow("ffmpeg not executable") << 0700 << 0600 << address << kNoFfmpeg;
        for (const char* option : {"-x", "--exec=touch /tmp/y", "-", "-http://a/b"})
            QTest::newRow(option) << 0700 << 0700 << QString::fromLatin1(option) << kNoAddress;
    }
    void failsBeforeAnythingIsStarted() {
        QFETCH(int, helper);
        QFETCH(int, ffmpeg);
        QFETCH(QString, address);
        const Helpers helpers;
        helpers.remove("ffmpeg");
        if (helper >= 0)
            helpers.put("my-executable", "#!/bin/sh\necho /x", helper);
        if (ffmpeg >= 0)
            helpers.put("ffmpeg", "", ffmpeg);
        const Download download(helpers, address);
        QVERIFY(download.isDone);
        QTEST(download.failure, "failure");
    }

    /// The system's own words, as when the helper goes away between the check and the start.
    void saysWhyTheHelperCannotBeStarted() {
        const Helpers helpers;
        helpers.put("my-executable", "#!/no/such/interpreter\n");
        const Download download(helpers);
        QTRY_VERIFY(download.isDone);
        QVERIFY2(download.failure.endsWith(u"No such file or directory"_qs),
                 qPrintable(download.failure));
    }

    void twoAtOnceHaveAProcessEach() {
        const Helpers helpers("while [ ${11} = first ] && [ ! -e \"${10%/*}/go\" ]; do sleep 0.01; "
                              "done; echo /${11}");
        const Download first(helpers, u"first"_qs);
        const Download second(helpers, u"second"_qs);
        QTRY_VERIFY(second.isDone);
        QVERIFY(!first.isDone);
        QVERIFY(QFile(helpers.downloads.filePath(u"go"_qs)).open(QIODevice::WriteOnly));
        QTRY_VERIFY(first.isDone);
        QCOMPARE(first.file.toLocalFile() + second.file.toLocalFile(), u"/first/second"_qs);
    }

    /// The end of the program.
    void endingLeavesNeitherProcessNorHalfAFile() {
        Helpers helpers(
            "cd \"${10%/*}\"\nexec 3> half.part\necho $$ > \"$PWD.pid\"\nexec sleep 100\n");
        const QString folder = helpers.downloads.path();
        const QString pidFile = folder + u".pid"_qs;
        const Download download(helpers);
        QTRY_VERIFY(QFileInfo(pidFile).size() > 0);
        QFile number(pidFile);
        QVERIFY(number.open(QIODevice::ReadOnly));
        const pid_t helper = number.readAll().trimmed().toInt();
        number.remove();
        QVERIFY(helper > 0 && ::kill(helper, 0) == 0);

        QElapsedTimer ending;
        ending.start();
        helpers.downloader.reset();
        QVERIFY(ending.elapsed() < 900);
        QVERIFY(::kill(helper, 0) != 0);
        QVERIFY(download.isDone);
        QCOMPARE(download.failure, u"ended"_qs);
        QVERIFY(QDir(folder).isEmpty());
    }
};

QTEST_GUILESS_MAIN(URLDownloaderTest)
#include "URLDownloaderTest.moc"
