#include <QTest>

#include "app/CommandLine.h"

using ambrel::CommandLine;

class CommandLineTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void opensTheFileThatIsMeant_data() {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("path");
        QTest::newRow("absolute") << u"/music/take 1.mp3"_qs << u"/music/take 1.mp3"_qs;
        QTest::newRow("relative") << u"../take.mp3"_qs << u"/home/take.mp3"_qs;
        QTest::newRow("address") << u"file:///music/a%20b%23.mp3"_qs << u"/music/a b#.mp3"_qs;
        QTest::newRow("signs") << u"50% #1?: \"é\"\n🎸.wav"_qs
                               << u"/home/me/50% #1?: \"é\"\n🎸.wav"_qs;
        QTest::newRow("not a file")
            << u"https://example.org/a.mp3"_qs << u"/home/me/https:/example.org/a.mp3"_qs;
    }
    void opensTheFileThatIsMeant() {
        QFETCH(QString, argument);
        QFETCH(QString, path);
        const auto line = CommandLine::parse({u"ambrel"_qs, argument}, u"/home/me"_qs);
        QVERIFY2(line.error.isEmpty(), qPrintable(line.error));
        QVERIFY(line.file);
        QVERIFY(line.file->isLocalFile());
        QCOMPARE(line.file->toLocalFile(), path);
    }

    void startsWithNothing() {
        const auto line = CommandLine::parse({u"ambrel"_qs}, u"/"_qs);
        QVERIFY(!line.file && line.answer.isEmpty() && line.error.isEmpty());
    }

    void doubleDashEndsTheOptions() {
        const auto line = CommandLine::parse({u"ambrel"_qs, u"--"_qs, u"-x.mp3"_qs}, u"/m"_qs);
        QCOMPARE(line.file->toLocalFile(), u"/m/-x.mp3"_qs);
    }

    void refusesInOneSentence_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("two files") << QStringList{u"a.mp3"_qs, u"b.mp3"_qs};
        QTest::newRow("long option") << QStringList{u"--fullscreen"_qs};
        QTest::newRow("short option") << QStringList{u"-x"_qs};
        QTest::newRow("option of the toolkit") << QStringList{u"-style"_qs, u"fusion"_qs};
        QTest::newRow("value that is not wanted") << QStringList{u"--help=yes"_qs};
        QTest::newRow("empty name") << QStringList{QString()};
    }
    void refusesInOneSentence() {
        QFETCH(QStringList, arguments);
        const auto line = CommandLine::parse(QStringList{u"ambrel"_qs} + arguments, u"/"_qs);
        QVERIFY(!line.file && line.answer.isEmpty());
        QVERIFY(line.error.endsWith(u'.'));
        QVERIFY(!line.error.contains(u'\n'));
    }

    void answersAboutItself() {
        QVERIFY(CommandLine::parse({u"ambrel"_qs, u"--help"_qs}, u"/"_qs).answer.contains(u"FILE"));
        QCOMPARE(CommandLine::parse({u"ambrel"_qs, u"--version"_qs}, u"/"_qs).answer,
                 u"ambrel " AMBREL_VERSION "\n"_qs);
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
