#include <cmath>
#include <limits>

#include <QTest>
#include <QtEndian>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"

using namespace ambrel;
using namespace ambrel::test;
using Reason = AudioFileError::Reason;

class AudioFileTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void laysOutTheChannels() {
        struct Case {
            const char* name;
            int channels;
            bool isMono;
            float left, right;
        };
        // Front 1, centre and surround √½, scaled so that full scale in all of them is full scale.
        const float half = std::sqrt(0.5F), scale = 1 + 2 * half;
        // Channel n (from 0) of the file is a constant 0.1 · (n + 1).
        const Case cases[] = {
            {"mono on both sides", 1, false, 0.1F, 0.1F},
            {"mono as mono", 1, true, 0.1F, 0.1F},
            {"stereo", 2, false, 0.1F, 0.2F},
            {"mean of two", 2, true, 0.15F, 0.15F},
            {"mean of six", 6, true, 0.35F, 0.35F},
            {"5.1", 6, false, (0.1F + half * 0.8F) / scale, (0.2F + half * 0.9F) / scale},
            {"three without a place", 3, false, 0.2F, 0.2F},
            {"as many as have a place, some unheard", 24, false, 1.25F, 1.25F},
            {"more than can be mixed", 100, false, 5.05F, 5.05F},
            {"mean of more than can be mixed", 100, true, 5.05F, 5.05F},
        };
        for (const auto& [name, channels, isMono, left, right] : cases) {
            Sound sound{48000, channels, {}};
            for (int i = 0; i < 4800 * channels; ++i)
                sound.samples.push_back(0.1F * float(i % channels + 1));
            const auto layout = isMono ? AudioFile::Layout::mono : AudioFile::Layout::stereo;
            const auto file = AudioFile::open(media_.wav("constant.wav", sound), layout);
            const std::vector<float> samples = MediaMaker::readAll(*file);
            QVERIFY2(file->channels() == channels, name);
            QVERIFY2(samples.size() == std::size_t{4800} * (isMono ? 1 : 2), name);
            QVERIFY2(std::abs(samples.front() - left) < 1e-6F, name);
            QVERIFY2(std::abs(samples.back() - right) < 1e-6F, name);
        }
    }

    void refusesInOneSentence_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Reason>("reason");
        const auto refused = [](const char* name, Reason reason) {
            QTest::newRow(name) << QString::fromUtf8(name) << reason;
        };
        refused("missing.mp3", Reason::missing);
        refused("two\nlines\u202e.mp3", Reason::missing);
        QTest::newRow("longer than any name") << QString(1'000'000, u'x') << Reason::missing;
        for (const char* special : {"folder.mp3", "fifo.mp3", "/dev/zero", "/dev/tty"})
            refused(special, Reason::notAFile);
        std::filesystem::create_directory(media_.path("folder.mp3"));
        ::mkfifo(media_.path("fifo.mp3").c_str(), 0600);
        const auto write = [&](const char* name, Reason reason, const QByteArray& bytes) {
            refused(name, reason);
            media_.write(name, bytes);
        };
        const auto wav = media_.wav("secret.wav", MediaMaker::phrase(0.5));
        for (const auto& [name, bytes] : {std::pair{"head.wav", 44},
                                          {"head.flac", 86},
                                          {"head.ogg", 58},
                                          {"head.mp3", 45},
                                          {"head.m4a", 36}})
            write(name, Reason::unreadable,
                  MediaMaker::bytesOf(media_.encode(wav, name)).left(bytes));
        write("empty.mp3", Reason::empty, {});
        write("text.mp3", Reason::unreadable, "Dear diary, today I practised the sixth bar.\n");
        write("zeros.mp3", Reason::unreadable, QByteArray(100000, '\0'));
        write("zeros.wav", Reason::unreadable, QByteArray(100000, '\0'));
        write("list of another file.m3u8", Reason::unreadable,
              "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\nsecret.wav\n#EXT-X-ENDLIST\n");
        refused("film without sound.mkv", Reason::noAudio);
        MediaMaker::ffmpeg(
            {u"-f"_qs, u"lavfi"_qs, u"-i"_qs, u"color=size=32x32:duration=0.2"_qs,
             QString::fromStdString(media_.path("film without sound.mkv").string())});
        refused("secret.wav", Reason::noPermission);
        std::filesystem::permissions(wav, std::filesystem::perms::none);
    }
    void refusesInOneSentence() {
        QFETCH(QString, name);
        QFETCH(Reason, reason);
        const std::filesystem::path path = media_.folder() / name.toStdString();
        const bool isRoot = ::geteuid() == 0; // who may read everything
        if (isRoot && reason == Reason::noPermission) {
            std::filesystem::permissions(media_.folder(), std::filesystem::perms::all);
            QVERIFY(::seteuid(65534) == 0);
        }
        std::optional<AudioFileError> caught;
        try {
            AudioFile::open(path);
        } catch (const AudioFileError& error) {
            caught = error;
        }
        QVERIFY(!isRoot || ::seteuid(0) == 0);
        QVERIFY(caught);
        QVERIFY2(caught->reason == reason, caught->what());
        const QString text = QString::fromUtf8(caught->what());
        QString shown = QString::fromStdString(path.filename().string());
        if (shown.size() > 255)
            shown = shown.left(255) + u'…';
        shown.replace(u'\n', u' ').replace(QChar(0x202e), u' ');
        QVERIFY2(text.startsWith(u"“%1” could not be opened: "_qs.arg(shown)), caught->what());
        QVERIFY(text.endsWith(u'.') && !text.contains(u'\n'));
    }

    void takesTheSizeOfAWrongWavFromTheFile() {
        QByteArray bytes = MediaMaker::bytesOf(media_.wav("right.wav", MediaMaker::phrase(1.0)));
        for (const quint32 stated : {0xffffffffU, 0x7fffffffU, 70001U, 0U}) {
            qToLittleEndian(stated, bytes.data() + 40);
            const auto file = AudioFile::open(media_.write("wrong.wav", bytes));
            const std::int64_t there = stated == 70001 ? 70001 / 8 : 44100;
            QCOMPARE(file->length(), there);
            QCOMPARE(std::int64_t(MediaMaker::readAll(*file).size() / 2), there);
        }
    }

    void readsOnWhenTheFormatChangesMidway() {
        struct Second {
            std::string ending;
            int rate;
            int channels;
        };
        for (const auto& [ending, rate, channels] :
             {Second{".mp3", 32000, 2}, Second{".mp3", 44100, 1}, Second{".mp3", 22050, 1},
              Second{".aac", 22050, 1}, Second{".ogg", 48000, 1}, Second{".flac", 48000, 1}}) {
            const bool isMp3 = ending == ".mp3";
            const auto encoded = [&, &end = ending](const Sound& sound) {
                const QStringList bare{u"-write_xing"_qs, u"0"_qs, u"-id3v2_version"_qs, u"0"_qs};
                return MediaMaker::bytesOf(media_.encode(
                    media_.wav("source.wav", sound), "part" + end, isMp3 ? bare : QStringList()));
            };
            const QByteArray both =
                encoded(MediaMaker::phrase(3.0)) + encoded(MediaMaker::phrase(3.0, rate, channels));
            const auto file = AudioFile::open(media_.write("both" + ending, both));
            QCOMPARE(file->sampleRate(), 44100);
            QCOMPARE_GT(MediaMaker::readAll(*file).size(), std::size_t{2} * 44100 * 2);
            std::vector<float> range(2000);
            for (std::int64_t at = file->length() - 2000; at > 0; at -= file->length() / 7)
                QCOMPARE(file->read(at, range), std::size_t{1000});
            if (isMp3)
                QCOMPARE_LT(std::abs(file->length() - 6 * 44100), 3 * 2304);
        }
    }

    void goesAroundAGap() {
        const auto source = media_.wav("source.wav", MediaMaker::phrase(6.0, 8000, 1));
        constexpr std::int64_t start = 24576, end = start + 8000 * 600; // in whole blocks
        for (const char* name : {"gap.mkv", "gap.m4a"}) {
            const auto path = media_.encode(
                source, name,
                {u"-c:a"_qs, u"alac"_qs, u"-af"_qs, u"asetpts='PTS+gte(PTS,24576)*8000*600'"_qs});
            const std::vector<float> all = MediaMaker::readAll(*AudioFile::open(path));
            for (const std::int64_t from : {start, start + 100, end - 1, end, start - 1}) {
                const auto file = AudioFile::open(path);
                QCOMPARE(file->afterGap(from), from < start ? from : end);
                std::vector<float> range(2000);
                QCOMPARE(file->read(from, range), std::size_t{1000});
                QVERIFY(std::equal(range.begin(), range.end(), all.begin() + 2 * from));
            }
            QCOMPARE(all.size(), std::size_t{2 * 8000 * 606});
            QVERIFY(all[2 * end - 1] == 0 && all[2 * end + 1] != 0);
        }
    }

  private:
    MediaMaker media_;
};

QTEST_GUILESS_MAIN(AudioFileTest)
#include "AudioFileTest.moc"
