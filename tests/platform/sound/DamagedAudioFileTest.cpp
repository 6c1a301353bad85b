#include <cstring>
#include <random>

#include <QtEndian>

#include "platform/sound/EncodedFormats.h"

using ambrel::AudioFile;
using ambrel::AudioFileError;
using namespace ambrel::test;

class DamagedAudioFileTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void playsCutFilesAsFarAsTheyDecode_data();
    void playsCutFilesAsFarAsTheyDecode();
    void playsDamagedFilesAlikeFromAnywhere_data();
    void playsDamagedFilesAlikeFromAnywhere();
    void takesTheSizeOfALyingWavFromTheFile();
    void bearsAChangeOfFormatMidway_data();
    void bearsAChangeOfFormatMidway();
    void bearsAFileThatChangesWhileItIsRead_data();
    void bearsAFileThatChangesWhileItIsRead();
    void survivesRandomDamage_data();
    void survivesRandomDamage();

  private:
    MediaMaker media_;
};

void DamagedAudioFileTest::playsCutFilesAsFarAsTheyDecode_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("percent");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        for (const int percent : {50, 99}) {
            QTest::addRow("%s cut to %d %%", formats[i].name, percent) << i << percent;
        }
    }
}

void DamagedAudioFileTest::playsCutFilesAsFarAsTheyDecode() {
    QFETCH(int, index);
    QFETCH(int, percent);
    const Format& format = formats[index];
    const auto whole = encoded(media_, format);
    const auto full = readAll(*AudioFile::open(whole));
    QByteArray bytes = MediaMaker::bytesOf(whole);
    bytes.truncate(bytes.size() * percent / 100);
    const auto file = AudioFile::open(media_.write("cut-" + std::string(format.file), bytes));

    std::vector<float> cut = readAll(*file);
    QCOMPARE(static_cast<std::int64_t>(cut.size() / 2), file->length());
    QVERIFY2(cut.size() < full.size(), "all of it, of a part");
    const double share = static_cast<double>(cut.size()) / static_cast<double>(full.size());
    QVERIFY2(share > percent / 100.0 - 0.2, qPrintable(QString::number(share)));
    // All but what the last, broken block made of it.
    cut.resize(cut.size() > 20000 ? cut.size() - 20000 : 0);
    QVERIFY(cut.empty() ||
            differenceInDecibels(cut, full.data()) <= (format.exact ? silent : -50.0));
}

void DamagedAudioFileTest::playsDamagedFilesAlikeFromAnywhere_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        if (formats[i].exact && !std::string_view(formats[i].file).starts_with("a.aiff")) {
            QTest::newRow(formats[i].name) << i;
        }
    }
}

void DamagedAudioFileTest::playsDamagedFilesAlikeFromAnywhere() {
    QFETCH(int, index);
    const auto whole = encoded(media_, formats[index]);
    QByteArray bytes = MediaMaker::bytesOf(whole);
    std::mt19937 random(3);
    for (qsizetype i = bytes.size() / 2; i < bytes.size() / 2 + 5000; ++i) {
        bytes[i] = static_cast<char>(random());
    }
    const auto file =
        AudioFile::open(media_.write("noise-" + std::string(formats[index].file), bytes));
    const auto linear = readAll(*file);
    QCOMPARE(static_cast<std::int64_t>(linear.size() / 2), file->length());
    QVERIFY(file->length() > 7 * formats[index].rate);
    const auto frames = static_cast<std::int64_t>(linear.size() / 2);
    for (const std::int64_t first :
         {frames / 10, frames * 7 / 10, frames * 8 / 10, frames * 9 / 10}) {
        std::vector<float> range(20000);
        QCOMPARE(file->read(first, range), std::size_t{10000});
        QCOMPARE(differenceInDecibels(range, linear.data() + first * 2), silent);
    }
}

void DamagedAudioFileTest::takesTheSizeOfALyingWavFromTheFile() {
    QByteArray bytes = MediaMaker::bytesOf(media_.wav("honest.wav", MediaMaker::phrase(1.0)));
    for (const quint32 stated : {0xffffffffU, 0x7fffffffU, 70001U, 0U}) {
        qToLittleEndian(stated, bytes.data() + 40);
        const auto file = AudioFile::open(media_.write("lying.wav", bytes));
        const std::int64_t there = stated == 70001 ? 70001 / 8 : 44100;
        QCOMPARE(file->length(), there);
        QCOMPARE(static_cast<std::int64_t>(readAll(*file).size() / 2), there);
    }
}

void DamagedAudioFileTest::bearsAChangeOfFormatMidway_data() {
    QTest::addColumn<QString>("ending");
    QTest::addColumn<int>("rate");
    QTest::addColumn<int>("channels");
    QTest::newRow("MP3 rate") << ".mp3" << 32000 << 2;
    QTest::newRow("MP3 channels") << ".mp3" << 44100 << 1;
    QTest::newRow("MP3 both") << ".mp3" << 22050 << 1;
    QTest::newRow("AAC rate and channels") << ".aac" << 22050 << 1;
    QTest::newRow("Vorbis rate and channels") << ".ogg" << 48000 << 1;
    QTest::newRow("FLAC rate and channels") << ".flac" << 48000 << 1;
}

void DamagedAudioFileTest::bearsAChangeOfFormatMidway() {
    QFETCH(QString, ending);
    QFETCH(int, rate);
    QFETCH(int, channels);
    const bool bare = ending == u".mp3";
    const QStringList options = bare ? split("-write_xing 0 -id3v2_version 0") : QStringList{};
    const auto first = media_.encode(media_.wav("s.wav", MediaMaker::phrase(3.0)),
                                     "first" + ending.toStdString(), options);
    const auto second = media_.encode(media_.wav("s.wav", MediaMaker::phrase(3.0, rate, channels)),
                                      "second" + ending.toStdString(), options);
    const auto file = AudioFile::open(media_.write(
        "both" + ending.toStdString(), MediaMaker::bytesOf(first) + MediaMaker::bytesOf(second)));
    QCOMPARE(file->sampleRate(), 44100);
    const auto samples = readAll(*file);
    QVERIFY(samples.size() > std::size_t{2} * 44100 * 2);
    std::vector<float> range(2000);
    for (std::int64_t at = file->length() - 2000; at > 0; at -= file->length() / 7) {
        QCOMPARE(file->read(at, range), std::size_t{1000});
    }
    if (bare) {
        QVERIFY2(std::llabs(file->length() - 6 * 44100) < 3 * 2304,
                 qPrintable(QString::number(file->length())));
    }
}

void DamagedAudioFileTest::bearsAFileThatChangesWhileItIsRead_data() {
    addFormats();
}

void DamagedAudioFileTest::bearsAFileThatChangesWhileItIsRead() {
    QFETCH(int, index);
    const Format& format = formats[index];
    const std::string name = "changing-" + std::string(format.file);
    const QByteArray bytes = MediaMaker::bytesOf(encoded(media_, format));
    const auto path = media_.write(name, bytes);
    const auto file = AudioFile::open(path);
    const auto whole = readAll(*file);
    const std::int64_t middle = file->length() / 2;
    std::vector<float> some(2000);
    std::filesystem::resize_file(path, 0);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(file->read(0, some), std::size_t{0});
    }
    media_.write(name, bytes);
    for (const std::int64_t first : {middle, std::int64_t{0}}) {
        QCOMPARE(file->read(first, some), std::size_t{1000});
        QVERIFY(differenceInDecibels(some, whole.data() + 2 * first) <=
                (format.exact ? silent : -50.0));
    }
    // Another recording, in another format perhaps, cut short and removed in the end.
    const Sound other = MediaMaker::phrase(6.0, format.rate);
    media_.wav(name, other);
    std::filesystem::resize_file(path, 44 + 8 * format.rate * 5);
    std::filesystem::remove(path);
    for (const std::int64_t first : {middle, std::int64_t{0}}) {
        QCOMPARE(file->read(first, some), std::size_t{1000});
        QCOMPARE(differenceInDecibels(some, other.samples.data() + 2 * first), silent);
    }
    QCOMPARE(file->read(format.rate * 6, some), std::size_t{0});
    QCOMPARE(static_cast<std::size_t>(file->length()), whole.size() / 2);
}

void DamagedAudioFileTest::survivesRandomDamage_data() {
    addFormats();
}

void DamagedAudioFileTest::survivesRandomDamage() {
    QFETCH(int, index);
    const QByteArray whole = MediaMaker::bytesOf(encoded(media_, formats[index], 0.7));
    const int rounds = qEnvironmentVariableIntValue("AMBREL_DAMAGE_ROUNDS");
    std::mt19937 random(static_cast<unsigned>(index) + 1);
    std::vector<float> some(4000);
    for (int round = 0; round < (rounds > 0 ? rounds : 8); ++round) {
        QByteArray bytes = whole;
        for (unsigned i = 0; i < 1U << (random() % 8); ++i) {
            // Headers are small and decide most: half of the damage goes there.
            const auto reach =
                random() % 2 == 0 ? std::min<qsizetype>(400, bytes.size()) : bytes.size();
            bytes[static_cast<qsizetype>(random() % static_cast<unsigned>(reach))] =
                static_cast<char>(random());
        }
        if (random() % 3 == 0) {
            bytes.truncate(1 +
                           static_cast<qsizetype>(random() % static_cast<unsigned>(bytes.size())));
        }
        const auto path = media_.write("damaged-" + std::string(formats[index].file), bytes);
        try {
            const auto file = AudioFile::open(path);
            QVERIFY(file->length() > 0 && file->sampleRate() > 0 && file->channels() > 0);
            for (int i = 0; i < 4; ++i) {
                const auto at = static_cast<std::int64_t>(random() % 60000);
                QVERIFY(file->read(at, some) <= 2000);
            }
        } catch (const AudioFileError& error) {
            QVERIFY(std::strlen(error.what()) > 0);
        }
    }
}

QTEST_GUILESS_MAIN(DamagedAudioFileTest)
#include "DamagedAudioFileTest.moc"
