#include <QtTest>

#include "audio/LocalPath.h"
#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"

using namespace ambrel;

class LocalPathTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void opensFilesWhateverTheirNames_data();
    void opensFilesWhateverTheirNames();
    void refusesWhatIsNoLocalFile_data();
    void refusesWhatIsNoLocalFile();

  private:
    test::MediaMaker media_;
};

void LocalPathTest::opensFilesWhateverTheirNames_data() {
    QTest::addColumn<QString>("name");
    for (const char* name : {"two words.wav", "\"quoted\" 'twice'.wav", "100%25.wav", "a#b?c.wav",
                             "take:3.wav", "line\nbreak.wav", "Übung 🎸.wav", "&amp;.wav"})
        QTest::newRow(name) << QString::fromUtf8(name);
    QTest::newRow("as long as may be") << QString(246, QChar(u'x')) + QStringLiteral(".wav");
}

void LocalPathTest::opensFilesWhateverTheirNames() {
    QFETCH(QString, name);
    const auto path = media_.wav(name.toStdString(), test::MediaMaker::tone(440, 0.1));
    const auto url = QUrl::fromLocalFile(QString::fromStdString(path.string()));
    QCOMPARE(AudioFile::open(localPath(url))->length(), 4410);
}

void LocalPathTest::refusesWhatIsNoLocalFile_data() {
    QTest::addColumn<QUrl>("url");
    QTest::newRow("nothing") << QUrl();
    QTest::newRow("web address") << QUrl(QStringLiteral("https://example.org/take.mp3"));
    QTest::newRow("null in its name") << QUrl(QStringLiteral("file:///etc/hostname%00.wav"));
}

void LocalPathTest::refusesWhatIsNoLocalFile() {
    QFETCH(QUrl, url);
    try {
        localPath(url);
        QFAIL("taken for a local file");
    } catch (const AudioFileError& error) {
        QVERIFY(QString::fromUtf8(error.what())
                    .endsWith(QStringLiteral("could not be opened: it is not a file on this "
                                             "computer.")));
    }
}

QTEST_GUILESS_MAIN(LocalPathTest)
#include "LocalPathTest.moc"
