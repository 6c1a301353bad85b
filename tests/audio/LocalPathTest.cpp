#include <QTest>

#include "audio/LocalPath.h"
#include "platform/sound/AudioFile.h"

using namespace ambrel;

class LocalPathTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void keepsEveryName() {
        for (const char* name : {"/two words", "/\"quoted\" 'twice'", "/100%25 %", "/a#b?c", "/t:3",
                                 "/line\nbreak", "/Übung 🎸", "/&amp;"}) {
            const QUrl url = QUrl::fromLocalFile(QString::fromUtf8(name));
            QCOMPARE(localPath(url).string(), std::string(name));
            QCOMPARE(localPath(QUrl::fromEncoded(url.toEncoded())).string(), std::string(name));
        }
    }

    void refusesWhatIsNoLocalFile() {
        for (const char* address : {"", "https://example.org/take.mp3",
                                    "file://server/etc/hostname", "file:///etc/hostname%00.wav"}) {
            const QUrl url(QString::fromUtf8(address));
            QVERIFY_EXCEPTION_THROWN(localPath(url), AudioFileError);
        }
    }
};

QTEST_GUILESS_MAIN(LocalPathTest)
#include "LocalPathTest.moc"
