#include <cmath>
#include <random>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/sound/EncodedFormats.h"

using ambrel::AudioFile;
using ambrel::AudioFileError;
using namespace ambrel::test;

namespace {

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
    void replacesSamplesThatAreNoNumbers();

  private:
    MediaMaker media_;
};

void AudioFileTest::readsAnyRangeAsALinearDecode_data() {
    addFormats();
}

void AudioFileTest::readsAnyRangeAsALinearDecode() {
    QFETCH(int, index);
    const Format& format = formats[index];
    const auto frames = std::llround(phraseSeconds * format.rate);
    const auto path = encoded(media_, format);

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
    QTest::newRow("three without a place") << 3 << false << 0.2F << 0.2F;
    QTest::newRow("as many as have a place, some unheard") << 24 << false << 1.25F << 1.25F;
    QTest::newRow("more than can be mixed") << 100 << false << 5.05F << 5.05F;
    QTest::newRow("mean of more than can be mixed") << 100 << true << 5.05F << 0.0F;
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
    QTest::newRow("longer than any name") << QString(1'000'000, u'x') << Reason::missing;
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
    if (shown.size() > 255)
        shown = shown.left(255) + u'…';
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

QTEST_GUILESS_MAIN(AudioFileTest)
#include "AudioFileTest.moc"
