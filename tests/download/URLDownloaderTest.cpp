#include "download/URLDownloader.h"

#include <csignal>

#include <QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include "platform/desktop/MainQueue.h"

using namespace ambrel;

namespace {

/// A folder with a helper that does what a script says, and an ffmpeg that nobody runs.
struct Helpers {
    QTemporaryDir folder;
    QTemporaryDir downloads;
    MainQueue queue;
    std::unique_ptr<URLDownloader> downloader =
        std::make_unique<URLDownloader>(queue, folder.path());

    explicit Helpers(const QByteArray& script) {
        put(u"my-executable"_qs, "#!/bin/sh\n" + script);
        put(u"ffmpeg"_qs, {});
    }

    void put(const QString& name, const QByteArray& content, bool isExecutable = true) const {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner |
                            (isExecutable ? QFile::ExeOwner : QFile::Permissions()));
    }

    /// The path that a download returns, or why it failed.
    QCoro::Task<QString> outcome(QString source, QString into) const {
        try {
            auto downloading = downloader->download(QUrl(source), QUrl::fromLocalFile(into));
            const QUrl file = co_await downloading;
            co_return file.toLocalFile();
        } catch (const BackgroundQueue::Ended&) {
            co_return u"ended"_qs;
        } catch (const std::exception& error) {
            co_return QString::fromUtf8(error.what());
        }
    }

    QString download(const QString& source = u"http://a/b"_qs) const {
        return QCoro::waitFor(outcome(source, downloads.path()));
    }
};

} // namespace

/// The downloader with scripts in the helper's place, where a fault must be exact.
class URLDownloaderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void takesTheHelpersWord() {
        const QString noFile = u"Download succeeded but no output file path was reported."_qs;
        const std::pair<const char*, QString> rows[] = {
            {"echo '  /Users/x/Song.m4a '; echo", u"/Users/x/Song.m4a"_qs},
            {"printf '/a b/S\\303'; sleep 0.2; printf '\\266ng.m4a'", u"/a b/Söng.m4a"_qs},
            {"printf '/x/<b>../\\033[1m%%41#?\\na'; echo warning >&2",
             u"/x/<b>../\033[1m%41#?\na"_qs},
            {"printf ' \\t\\n'", noFile},
            {"printf '/x\\377.m4a'", noFile},
            {"printf ' \\n\\n' >&2; exit 2", u"Download failed (exit code 2)."_qs},
            {"echo /x; printf '\\n ERROR: \"<b>gone</b>\"\\nfor good\\n' >&2; exit 1",
             u"Download failed: ERROR: \"<b>gone</b>\"\nfor good"_qs},
            {"printf '\\377' >&2; exit 1", u"Download failed (exit code 1)."_qs},
            {"kill -KILL $$", u"Download failed (exit code 9)."_qs},
        };
        for (const auto& [script, outcome] : rows)
            QCOMPARE(Helpers(script).download(), outcome);
    }

    void givesTheHelperItsElevenArguments() {
        const Helpers helpers("printf '%s|' \"$#\" \"$@\" >&2; exit 1");
        const QString folder = helpers.downloads.filePath(u"for  me/ü $HOME"_qs);
        QCOMPARE(
            QCoro::waitFor(helpers.outcome(u"https://ü.example/a b?v=1&w=%20#t"_qs, folder + u'/')),
            u"Download failed: 11|-x|--no-playlist|--audio-format|m4a|--ffmpeg-location|%1|"
            "--print|after_move:filepath|-o|%2/%(title)s.%(ext)s|"
            "https://xn--tda.example/a%20b?v=1&w=%20#t|"_qs.arg(
                helpers.folder.filePath(u"ffmpeg"_qs), folder));
    }

    void failsBeforeAnythingIsStarted() {
        const Helpers helpers("echo /x");
        for (const char* option : {"-x", "--exec=touch /tmp/y", "-", "-http://a/b"})
            QCOMPARE(helpers.download(QString::fromLatin1(option)),
                     u"This is not a web address."_qs);
        helpers.put(u"ffmpeg"_qs, {}, false);
        QCOMPARE(helpers.download(), u"ffmpeg not found inside the app bundle."_qs);
        const QString noHelper = u"Download helper not found inside the app bundle."_qs;
        helpers.put(u"my-executable"_qs, {}, false);
        QCOMPARE(helpers.download(), noHelper);
        QFile::remove(helpers.folder.filePath(u"my-executable"_qs));
        QCOMPARE(helpers.download(), noHelper);
        // As when it goes away between the check and the start:
        helpers.put(u"ffmpeg"_qs, {});
        helpers.put(u"my-executable"_qs, "#!/no/such/interpreter\n");
        QVERIFY(helpers.download().endsWith(u"No such file or directory"_qs));
    }

    /// The end of the program, with a folder that the helper makes.
    void endingLeavesNeitherProcessNorHalfAFile() {
        Helpers helpers("mkdir -p \"${10%/*}\"; cd \"${10%/*}\"\nexec 3> half.part\n"
                        "echo $$ > ../pid\nexec sleep 100\n");
        const QString folder = helpers.downloads.filePath(u"made"_qs);
        auto outcome = helpers.outcome(u"http://a/b"_qs, folder);
        QFile number(helpers.downloads.filePath(u"pid"_qs));
        QTRY_VERIFY(number.size() > 0);
        QVERIFY(number.open(QIODevice::ReadOnly));
        const pid_t helper = number.readAll().trimmed().toInt();
        QVERIFY(helper > 0 && ::kill(helper, 0) == 0);
        QElapsedTimer ending;
        ending.start();
        helpers.downloader.reset();
        QVERIFY(ending.elapsed() < 900);
        QVERIFY(::kill(helper, 0) != 0);
        QCOMPARE(QCoro::waitFor(outcome), u"ended"_qs);
        QVERIFY(QDir(folder).isEmpty());
    }
};

QTEST_GUILESS_MAIN(URLDownloaderTest)
#include "URLDownloaderTest.moc"
