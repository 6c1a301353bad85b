#include <QTest>

#include "app/CommandLine.h"

using namespace ambrel;

class CommandLineTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void opensTheFileThatIsMeant() {
        struct Case {
            QStringList arguments;
            QString path; // none: refused
        };
        for (const Case& c : {
                 Case{{u"../take.mp3"_qs}, u"/home/take.mp3"_qs},
                 Case{{u"file:///music/a%20b%23.mp3"_qs}, u"/music/a b#.mp3"_qs},
                 Case{{u"50% #1?: \"é\"\n🎸.wav"_qs}, u"/home/me/50% #1?: \"é\"\n🎸.wav"_qs},
                 Case{{u"https://a.org/a.mp3"_qs}, u"/home/me/https:/a.org/a.mp3"_qs},
                 Case{{u"--"_qs, u"-x.mp3"_qs}, u"/home/me/-x.mp3"_qs},
                 Case{{u"-style"_qs, u"fusion"_qs}, {}}, // the toolkit's own
                 Case{{u"--help=yes"_qs}, {}},
                 Case{{QString()}, {}},
             }) {
            const auto line =
                CommandLine::parse(QStringList{u"ambrel"_qs} + c.arguments, u"/home/me"_qs);
            QCOMPARE(line.file.value_or(QUrl()).toLocalFile(), c.path);
            QCOMPARE(line.error.isEmpty(), !c.path.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
