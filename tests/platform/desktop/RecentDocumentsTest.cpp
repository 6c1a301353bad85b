#include <csignal>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/resource.h>

#include "platform/desktop/RecentDocuments.h"

using namespace ambrel;

namespace {

const QUrl kSong = QUrl::fromLocalFile(u"/music/R&B <1> \"é\" 50%.wav"_qs);

/// As other programs write it, and as odd as they may.
const QByteArray kOthers =
    "<?xml version='1.0' encoding=\"UTF-8\"?>\n"
    "<xbel version='1.0' xmlns:bookmark='http://www.freedesktop.org/standards/desktop-bookmarks'\n"
    "  xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">\n"
    "<!-- é & < 🎸 --><bookmark href='file:///tmp/a.txt' added='2020' modified='2020' visited = "
    "\"2020\"><title>a &lt;b&gt;</title>\n"
    "<info><metadata owner='http://freedesktop.org'><mime:mime-type type='text/plain'/>\n"
    "<bookmark:applications><bookmark:application name='edit' exec='edit %u' modified='2020'\n"
    " count='3'/></bookmark:applications></metadata></info></bookmark>\n"
    "<folder><title/><![CDATA[ <b> ]]></folder></xbel>\n<!-- end -->\n";

} // namespace

class RecentDocumentsTest : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir folder_;
    const QString list_ = folder_.filePath(u"data/recently-used.xbel"_qs);

    void write(const QByteArray& contents) {
        QDir().mkpath(folder_.filePath(u"data"_qs));
        QFile file(list_);
        QVERIFY(file.open(QFile::WriteOnly) && file.write(contents) == contents.size());
    }
    QByteArray afterAdding(const QUrl& document) {
        RecentDocuments::add(document, u"Ambrel"_qs, u"ambrel"_qs, list_);
        QFile file(list_);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

  private Q_SLOTS:
    void cleanup() { QDir(folder_.filePath(u"data"_qs)).removeRecursively(); }

    void allElseStaysAsItIs() {
        write(kOthers);
        const QByteArray added = afterAdding(kSong);
        const qsizetype end = kOthers.indexOf("</xbel>");
        QVERIFY(added.size() > kOthers.size());
        QVERIFY(added.startsWith(kOthers.first(end)) && added.endsWith(kOthers.sliced(end)));

        QByteArray again = afterAdding(kSong), once = added;
        QCOMPARE(again.count("<bookmark "), 2);
        QCOMPARE(again.count("count=\"2\""), 1);

        write(kOthers);
        QByteArray shared = afterAdding(QUrl::fromLocalFile(u"/tmp/a.txt"_qs));
        QCOMPARE(shared.count("<bookmark "), 1);
        QCOMPARE(shared.count("2020"), 2); // when it was added, and by the other program
        const qsizetype ours = shared.indexOf("<bookmark:application name=\"Ambrel\"");
        shared.remove(ours, shared.indexOf("/>", ours) + 2 - ours);
        QCOMPARE(shared.sliced(shared.indexOf('>', shared.indexOf("a.txt"))),
                 kOthers.sliced(kOthers.indexOf('>', kOthers.indexOf("a.txt"))));
    }

    void aListIsMadeAndItsOldestOwnEntriesGo() {
        for (int i = 0; i < 101; ++i)
            afterAdding(QUrl::fromLocalFile(u"/music/%1.wav"_qs.arg(i)));
        const QByteArray list = afterAdding(QUrl::fromLocalFile(u"/music/50.wav"_qs));
        QCOMPARE(list.count("<bookmark "), 100);
        QVERIFY(!list.contains("/music/0.wav") && list.contains("/music/1.wav"));
        QCOMPARE(QFile::permissions(list_) & 0x0FFF, QFile::ReadUser | QFile::WriteUser);
    }

    void whatIsNoListIsLeftAlone() {
        for (const QByteArray& wrong :
             {kOthers.chopped(30), kOthers + "<more/>", QByteArray("text"),
              QByteArray(kOthers).replace("&lt;", "\xFF"), QByteArray("<xbel></xbel>")}) {
            write(wrong);
            QCOMPARE(afterAdding(kSong), wrong);
        }
        const QString elsewhere = folder_.filePath(u"elsewhere"_qs);
        write(kOthers);
        QVERIFY(QFile::rename(list_, elsewhere) && QFile::link(elsewhere, list_));
        afterAdding(kSong);
        QCOMPARE(QFile::symLinkTarget(list_), elsewhere);
        QCOMPARE(QFile(elsewhere).size(), kOthers.size());
    }

    void fullDiskLeavesTheListAlone() {
        write(kOthers);
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit small = {100, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const QByteArray after = afterAdding(kSong);
        setrlimit(RLIMIT_FSIZE, &limit);
        QCOMPARE(after, kOthers);
    }
};

QTEST_GUILESS_MAIN(RecentDocumentsTest)
#include "RecentDocumentsTest.moc"
