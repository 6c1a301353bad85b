#include <cmath>
#include <cstring>
#include <random>

#include <sys/stat.h>
#include <unistd.h>

#include <QtEndian>

#include <QTest>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"

using ambrel::AudioFile;
using ambrel::AudioFileError;
using ambrel::test::MediaMaker;
using ambrel::test::Sound;

namespace {

struct Format {
    const char* name;
    const char* file;
    const char* options;
    bool exact = true;          ///< decodes to the same samples wherever it starts
    bool knowsItsLength = true; ///< says how much the encoder added
    int rate = 44100;
};

const Format formats[] = {
    {"wav 8", "a8.wav", "-c:a pcm_u8"},
    {"wav 16", "a16.wav", "-c:a pcm_s16le"},
    {"wav 24", "a24.wav", "-c:a pcm_s24le"},
    {"wav 32", "a32.wav", "-c:a pcm_s32le"},
    {"wav float", "af.wav", "-c:a pcm_f32le"},
    {"aiff", "a.aiff", "-c:a pcm_s16be"},
    {"flac", "a.flac", ""},
    {"flac 24", "a24.flac", "-sample_fmt s32"},
    {"alac", "alac.m4a", "-c:a alac -movflags +faststart"},
    {"mp3 cbr", "cbr.mp3", "-b:a 128k"},
    {"mp3 vbr", "vbr.mp3", "-q:a 3"},
    {"mp3 tagged", "tag.mp3", "-q:a 3 -id3v2_version 3 -write_id3v1 1 -metadata title=Practice"},
    {"mp3 bare cbr", "bare.mp3", "-b:a 128k -write_xing 0 -id3v2_version 0", true, false},
    {"mp3 bare vbr", "barev.mp3", "-q:a 3 -write_xing 0", true, false},
    {"vorbis", "a.ogg", "-c:a libvorbis -q:a 4"},
    {"opus", "a.opus", "-c:a libopus", true, true, 48000},
    {"aac", "a.m4a", "-c:a aac -movflags +faststart", false},
};

constexpr double phraseSeconds = 8.345;
constexpr double silent = -std::numeric_limits<double>::infinity();

std::vector<float> readAll(AudioFile& file) {
    const auto samples = static_cast<std::size_t>(file.samplesPerFrame());
    std::vector<float> result;
    std::vector<float> some(10007 * samples);
    while (const std::size_t got =
               file.read(static_cast<std::int64_t>(result.size() / samples), some)) {
        result.insert(result.end(), some.begin(),
                      some.begin() + static_cast<std::ptrdiff_t>(got * samples));
    }
    return result;
}

QStringList split(const char* options) {
    return QString::fromUtf8(options).split(u' ', Qt::SkipEmptyParts);
}

/// One file of each kind that is refused.
void makeRefusedFiles(const MediaMaker& media) {
    if (!std::filesystem::create_directory(media.path("folder.mp3"))) {
        return; // made for an earlier row
    }
    ::mkfifo(media.path("fifo.mp3").c_str(), 0600);
    media.write("empty.mp3", {});
    media.write("text.mp3", "Dear diary, today I practised the sixth bar.\n");
    media.write("zeros.mp3", QByteArray(100000, '\0'));
    media.write("zeros.wav", QByteArray(100000, '\0'));
    const auto wav = media.wav("secret.wav", MediaMaker::phrase(0.5));
    media.write("list.m3u8",
                "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\nsecret.wav\n#EXT-X-ENDLIST\n");
    for (const auto& [name, bytes] : {std::pair{"head.wav", 44},
                                      {"head.flac", 86},
                                      {"head.ogg", 58},
                                      {"head.mp3", 45},
                                      {"head.m4a", 36}}) {
        const QByteArray whole = MediaMaker::bytesOf(media.encode(wav, name));
        media.write(name, whole.left(bytes));
    }
    std::filesystem::permissions(wav, std::filesystem::perms::none);
    MediaMaker::ffmpeg({u"-f"_qs, u"lavfi"_qs, u"-i"_qs, u"color=size=32x32:duration=0.2"_qs,
                        QString::fromStdString(media.path("film.mkv").string())});
}

/// The power of the difference against full scale; minus infinity for equal samples.
double differenceInDecibels(const std::vector<float>& samples, const float* expected) {
    double power = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double difference = static_cast<double>(samples[i]) - expected[i];
        power += difference * difference;
    }
    return 10.0 * std::log10(power / static_cast<double>(samples.size()));
}

} // namespace

class AudioFileTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void readsAnyRangeAsALinearDecode_data();
    void readsAnyRangeAsALinearDecode();

    void laysOutTheChannels_data();
    void laysOutTheChannels();
    void refusesInOneSentence_data();
    void refusesInOneSentence();
    void opensAnyName_data();
    void opensAnyName();
    void playsCutFilesAsFarAsTheyDecode_data();
    void playsCutFilesAsFarAsTheyDecode();
    void playsDamagedFilesAlikeFromAnywhere_data();
    void playsDamagedFilesAlikeFromAnywhere();
    void takesTheSizeOfALyingWavFromTheFile_data();
    void takesTheSizeOfALyingWavFromTheFile();
    void bearsAChangeOfFormatMidway_data();
    void bearsAChangeOfFormatMidway();
    void bearsAFileThatChangesWhileItIsRead();
    void replacesSamplesThatAreNoNumbers();
    void survivesRandomDamage_data();
    void survivesRandomDamage();

  private:
    std::filesystem::path encoded(const Format& format, double seconds);

    MediaMaker media_;
};

std::filesystem::path AudioFileTest::encoded(const Format& format, double seconds) {
    const std::string name = std::to_string(std::lround(seconds * 1000)) + "-" + format.file;
    if (std::filesystem::exists(media_.path(name))) {
        return media_.path(name);
    }
    const auto source = media_.wav("source.wav", MediaMaker::phrase(seconds, format.rate));
    return media_.encode(source, name, split(format.options));
}

void AudioFileTest::readsAnyRangeAsALinearDecode_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        QTest::newRow(formats[i].name) << i;
    }
}

void AudioFileTest::readsAnyRangeAsALinearDecode() {
    QFETCH(int, index);
    const Format& format = formats[index];
    const auto frames = std::llround(phraseSeconds * format.rate);
    const auto path = encoded(format, phraseSeconds);

    const auto file = AudioFile::open(path);
    const std::vector<float> reference = MediaMaker::decode(path);
    const std::vector<float> linear = readAll(*file);
    QCOMPARE(static_cast<std::int64_t>(linear.size() / 2), file->length());
    if (format.knowsItsLength) {
        QCOMPARE(file->length(), std::int64_t{frames});
    } else {
        QCOMPARE(linear.size(), reference.size());
    }
    const double limit = format.exact ? silent : -50.0;
    QVERIFY(differenceInDecibels(linear, reference.data()) <= limit);

    std::mt19937 random(7);
    for (int i = 0; i < 30; ++i) {
        const auto first = static_cast<std::int64_t>(random() % (linear.size() / 2));
        const std::int64_t count =
            std::min<std::int64_t>(random() % 20000 + 1, file->length() - first);
        std::vector<float> range(static_cast<std::size_t>(count) * 2);
        QCOMPARE(static_cast<std::int64_t>(file->read(first, range)), count);
        const double difference = differenceInDecibels(range, linear.data() + first * 2);
        QVERIFY2(
            difference <= limit,
            qPrintable(
                QStringLiteral("%1 frames at %2: %3 dB").arg(count).arg(first).arg(difference)));
    }
}

void AudioFileTest::laysOutTheChannels_data() {
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("mono");
    QTest::addColumn<float>("left");
    QTest::addColumn<float>("right");
    // Channel n (from 0) of the file is a constant 0.1 · (n + 1).
    QTest::newRow("mono on both sides") << 1 << false << 0.1F << 0.1F;
    QTest::newRow("mono as mono") << 1 << true << 0.1F << 0.0F;
    QTest::newRow("stereo") << 2 << false << 0.1F << 0.2F;
    QTest::newRow("mean of two") << 2 << true << 0.15F << 0.0F;
    QTest::newRow("mean of six") << 6 << true << 0.35F << 0.0F;
    // Front 1, centre and surround √½, scaled so that full scale in all of them is full scale.
    const float scale = 1.0F + 2.0F * std::sqrt(0.5F);
    QTest::newRow("5.1 mixed down") << 6 << false << (0.1F + std::sqrt(0.5F) * 0.8F) / scale
                                    << (0.2F + std::sqrt(0.5F) * 0.9F) / scale;
}

void AudioFileTest::laysOutTheChannels() {
    QFETCH(int, channels);
    QFETCH(bool, mono);
    QFETCH(float, left);
    QFETCH(float, right);
    Sound sound{48000, channels, {}};
    for (int i = 0; i < 4800 * channels; ++i) {
        sound.samples.push_back(0.1F * static_cast<float>(i % channels + 1));
    }
    const auto layout = mono ? AudioFile::Layout::mono : AudioFile::Layout::stereo;
    const auto file = AudioFile::open(media_.wav("constant.wav", sound), layout);
    QCOMPARE(file->channels(), channels);
    const std::vector<float> samples = readAll(*file);
    QCOMPARE(samples.size(), std::size_t{4800} * (mono ? 1 : 2));
    QVERIFY(std::fabs(samples[0] - left) < 1e-6F);
    QVERIFY(std::fabs(samples.back() - (mono ? left : right)) < 1e-6F);
}

void AudioFileTest::refusesInOneSentence_data() {
    using Reason = AudioFileError::Reason;
    QTest::addColumn<QString>("name");
    QTest::addColumn<Reason>("reason");
    QTest::newRow("missing") << "missing.mp3" << Reason::missing;
    QTest::newRow("folder") << "folder.mp3" << Reason::notAFile;
    QTest::newRow("FIFO") << "fifo.mp3" << Reason::notAFile;
    QTest::newRow("device") << "/dev/zero" << Reason::notAFile;
    QTest::newRow("terminal") << "/dev/tty" << Reason::notAFile;
    QTest::newRow("no permission") << "secret.wav" << Reason::noPermission;
    QTest::newRow("empty") << "empty.mp3" << Reason::empty;
    QTest::newRow("text") << "text.mp3" << Reason::unreadable;
    QTest::newRow("zeros as MP3") << "zeros.mp3" << Reason::unreadable;
    QTest::newRow("zeros as WAV") << "zeros.wav" << Reason::unreadable;
    QTest::newRow("play list of another file") << "list.m3u8" << Reason::unreadable;
    QTest::newRow("film without sound") << "film.mkv" << Reason::noAudio;
    for (const char* head : {"head.wav", "head.flac", "head.ogg", "head.mp3", "head.m4a"}) {
        QTest::newRow(head) << head << Reason::unreadable;
    }
    QTest::newRow("line break in the name") << "two\nlines\u202e.mp3" << Reason::missing;
}

void AudioFileTest::refusesInOneSentence() {
    QFETCH(QString, name);
    QFETCH(AudioFileError::Reason, reason);
    makeRefusedFiles(media_);
    const bool isRoot = ::geteuid() == 0;
    std::filesystem::path path = media_.folder() / name.toStdString();
    if (isRoot && reason == AudioFileError::Reason::noPermission) {
        std::filesystem::permissions(media_.folder(), std::filesystem::perms::all);
        QVERIFY(::seteuid(65534) == 0);
    }
    std::string sentence;
    std::optional<AudioFileError::Reason> caught;
    try {
        AudioFile::open(path);
    } catch (const AudioFileError& error) {
        caught = error.reason;
        sentence = error.what();
    }
    if (isRoot) {
        QVERIFY(::seteuid(0) == 0);
    }
    QVERIFY2(caught == reason, sentence.c_str());
    const QString text = QString::fromStdString(sentence);
    QString shown = QString::fromStdString(path.filename().string());
    shown.replace(u'\n', u' ').replace(QChar(0x202e), u' ');
    QVERIFY2(text.startsWith(u"“%1” could not be opened: "_qs.arg(shown)), sentence.c_str());
    QVERIFY(text.endsWith(u'.') && !text.contains(u'\n'));
}

void AudioFileTest::opensAnyName_data() {
    QTest::addColumn<QString>("name");
    for (const char* name :
         {"with space.wav", "\"quotes' `.wav", "100%20%s.wav", "#1.wav", "what?.wav", "take:3.wav",
          "http:take.wav", "file:take.wav", "line\nbreak.wav", "\U0001F3B8.wav", "-i.wav",
          "no ending", "wrong.mp3", ".hidden", "a picture.png"}) {
        QTest::newRow(name) << QString::fromUtf8(name);
    }
    QTest::newRow("250 bytes") << QString(246, u'n') + u".wav"_qs;
}

void AudioFileTest::opensAnyName() {
    QFETCH(QString, name);
    const auto path = media_.wav(name.toStdString(), MediaMaker::phrase(0.2));
    QCOMPARE(AudioFile::open(path)->length(), 8820);
}

void AudioFileTest::playsCutFilesAsFarAsTheyDecode_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("percent");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        for (const int percent : {50, 99}) {
            QTest::addRow("%s cut to %d %%", formats[i].name, percent) << i << percent;
        }
    }
}

void AudioFileTest::playsCutFilesAsFarAsTheyDecode() {
    QFETCH(int, index);
    QFETCH(int, percent);
    const Format& format = formats[index];
    const auto whole = encoded(format, phraseSeconds);
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

void AudioFileTest::playsDamagedFilesAlikeFromAnywhere_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        if (formats[i].exact && !std::string_view(formats[i].file).starts_with("a.aiff")) {
            QTest::newRow(formats[i].name) << i;
        }
    }
}

void AudioFileTest::playsDamagedFilesAlikeFromAnywhere() {
    QFETCH(int, index);
    const auto whole = encoded(formats[index], phraseSeconds);
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

void AudioFileTest::takesTheSizeOfALyingWavFromTheFile_data() {
    QTest::addColumn<quint32>("stated");
    for (const quint32 size : {0xffffffffU, 0x7fffffffU, 70001U, 0U}) {
        QTest::addRow("%u bytes", size) << size;
    }
}

void AudioFileTest::takesTheSizeOfALyingWavFromTheFile() {
    QFETCH(quint32, stated);
    const auto honest = media_.wav("honest.wav", MediaMaker::phrase(1.0));
    QByteArray bytes = MediaMaker::bytesOf(honest);
    qToLittleEndian(stated, bytes.data() + 40);
    const auto file = AudioFile::open(media_.write("lying.wav", bytes));
    const std::int64_t there = stated == 70001 ? 70001 / 8 : 44100;
    QCOMPARE(file->length(), there);
    QCOMPARE(static_cast<std::int64_t>(readAll(*file).size() / 2), there);
}

void AudioFileTest::bearsAChangeOfFormatMidway_data() {
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

void AudioFileTest::bearsAChangeOfFormatMidway() {
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

void AudioFileTest::bearsAFileThatChangesWhileItIsRead() {
    const auto path = media_.wav("changing.wav", MediaMaker::phrase(20.0));
    const auto file = AudioFile::open(path);
    std::vector<float> some(2000);
    QCOMPARE(file->read(0, some), std::size_t{1000});
    std::filesystem::resize_file(path, 44 + 8 * 44100 * 5);
    QCOMPARE(file->read(44100 * 4, some), std::size_t{1000});
    QCOMPARE(file->read(44100 * 10, some), std::size_t{0});
    std::filesystem::remove(path);
    QCOMPARE(file->read(44100 * 2, some), std::size_t{1000});
    QCOMPARE(file->length(), std::int64_t{20 * 44100});
}

void AudioFileTest::replacesSamplesThatAreNoNumbers() {
    Sound sound = MediaMaker::phrase(0.5);
    sound.samples[10] = std::numeric_limits<float>::quiet_NaN();
    sound.samples[11] = -std::numeric_limits<float>::infinity();
    sound.samples[12] = 1.5F;
    const auto samples = readAll(*AudioFile::open(media_.wav("odd.wav", sound)));
    QCOMPARE(samples[10], 0.0F);
    QCOMPARE(samples[11], 0.0F);
    QCOMPARE(samples[12], 1.5F);
}

void AudioFileTest::survivesRandomDamage_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        QTest::newRow(formats[i].name) << i;
    }
}

void AudioFileTest::survivesRandomDamage() {
    QFETCH(int, index);
    const QByteArray whole = MediaMaker::bytesOf(encoded(formats[index], 0.7));
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

QTEST_GUILESS_MAIN(AudioFileTest)
#include "AudioFileTest.moc"
