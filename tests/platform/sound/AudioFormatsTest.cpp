#include <cmath>
#include <limits>
#include <random>

#include <QTest>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"

using namespace ambrel;
using namespace ambrel::test;

namespace {

struct Format {
    const char* name;
    const char* file;
    const char* options;
    bool isExact = true;        ///< decodes to the same samples wherever it starts
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

std::int64_t framesIn(const std::vector<float>& stereo) {
    return std::int64_t(stereo.size() / 2);
}

} // namespace

/// Every test reads a file of every format.
class AudioFormatsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase_data() {
        QTest::addColumn<int>("index");
        for (int i = 0; i < int(std::size(formats)); ++i)
            QTest::newRow(formats[i].name) << i;
    }
    void init() {
        QFETCH_GLOBAL(int, index);
        format_ = formats[index];
        limitDb_ = format_.isExact ? -std::numeric_limits<double>::infinity() : -50.0;
        random_.seed(unsigned(index));
        bytes_ = encoded(phraseSeconds);
    }

    void readsAnyRangeAsALinearDecode() {
        const auto path = media_.write(format_.file, bytes_);
        const auto file = AudioFile::open(path);
        const std::vector<float> reference = MediaMaker::decode(path);
        const std::vector<float> linear = MediaMaker::readAll(*file);
        QCOMPARE(framesIn(linear), file->length());
        QCOMPARE(file->length(), format_.knowsItsLength ? std::llround(phraseSeconds * format_.rate)
                                                        : framesIn(reference));
        QCOMPARE_LE(differenceDb(linear, reference.data()), limitDb_);
        for (int i = 0; i < 30; ++i) {
            const auto first = std::int64_t(random_() % std::uint64_t(file->length()));
            const auto count = std::int64_t(random_() % 20000 + 1);
            const auto there = std::min(count, file->length() - first);
            QCOMPARE_LE(differenceAt(*file, first, count, there, linear), limitDb_);
        }
    }

    void playsACutFileAsFarAsItDecodes() {
        const auto full = MediaMaker::readAll(*AudioFile::open(media_.write(format_.file, bytes_)));
        for (const int percent : {50, 99}) {
            const QByteArray part = bytes_.left(bytes_.size() * percent / 100);
            const auto file = AudioFile::open(media_.write(format_.file, part));
            std::vector<float> cut = MediaMaker::readAll(*file);
            QCOMPARE(framesIn(cut), file->length());
            QCOMPARE_LT(cut.size(), full.size());
            QCOMPARE_GT(double(cut.size()) / double(full.size()), percent / 100.0 - 0.2);
            // All but what the last, broken block made of it.
            cut.resize(cut.size() - 20000);
            QCOMPARE_LE(differenceDb(cut, full.data()), limitDb_);
        }
    }

    void playsADamagedFileAlikeFromAnywhere() {
        if (!format_.isExact)
            return; // decodes differently from elsewhere when it is whole too
        const auto middle = bytes_.begin() + bytes_.size() / 2;
        std::generate(middle, middle + 5000, [this] { return char(random_()); });
        const auto file = AudioFile::open(media_.write(format_.file, bytes_));
        const auto linear = MediaMaker::readAll(*file);
        QCOMPARE(framesIn(linear), file->length());
        QCOMPARE_GT(file->length(), 7 * format_.rate);
        for (const int tenths : {1, 7, 8, 9})
            QCOMPARE_LE(differenceAt(*file, file->length() * tenths / 10, 10000, 10000, linear),
                        limitDb_);
    }

    void readsWhatIsThereNowInAFileThatChanges() {
        const auto path = media_.write(format_.file, bytes_);
        const auto file = AudioFile::open(path);
        const auto whole = MediaMaker::readAll(*file);
        const std::int64_t places[] = {file->length() / 2, 0};
        std::filesystem::resize_file(path, 0);
        for (int i = 0; i < 2; ++i)
            differenceAt(*file, 0, 1000, 0, whole);
        media_.write(format_.file, bytes_);
        for (const std::int64_t first : places)
            QCOMPARE_LE(differenceAt(*file, first, 1000, 1000, whole), limitDb_);
        // Another recording, in another format perhaps, cut short and removed in the end.
        const Sound other = MediaMaker::phrase(6.0, format_.rate);
        media_.wav(format_.file, other);
        std::filesystem::resize_file(path, 44 + 8 * format_.rate * 5);
        std::filesystem::remove(path);
        for (const std::int64_t first : places)
            QVERIFY(std::isinf(differenceAt(*file, first, 1000, 1000, other.samples)));
        differenceAt(*file, format_.rate * 6, 1000, 0, whole);
        QCOMPARE(file->length(), framesIn(whole));
    }

    void survivesRandomDamage() {
        const QByteArray whole = encoded(0.7);
        const int rounds = qEnvironmentVariableIntValue("AMBREL_DAMAGE_ROUNDS");
        const auto below = [this](qsizetype end) {
            return qsizetype(random_() % std::uint64_t(end));
        };
        std::vector<float> some(4000);
        for (int round = 0; round < (rounds > 0 ? rounds : 8); ++round) {
            QByteArray bytes = whole;
            // Headers are small and decide most: half of the damage goes there.
            for (qsizetype i = qsizetype{1} << below(8); i > 0; --i)
                bytes[below(below(2) == 0 ? std::min<qsizetype>(400, bytes.size())
                                          : bytes.size())] = char(random_());
            if (below(3) == 0)
                bytes.truncate(1 + below(bytes.size()));
            try {
                const auto file = AudioFile::open(media_.write(format_.file, bytes));
                QVERIFY(file->length() > 0 && file->sampleRate() > 0 && file->channels() > 0);
                for (int i = 0; i < 4; ++i)
                    QVERIFY(file->read(below(60000), some) <= 2000);
            } catch (const AudioFileError& error) {
                QVERIFY(*error.what() != 0);
            }
        }
    }

  private:
    /// A phrase of that length in the format; made once for each.
    QByteArray encoded(double seconds) {
        QByteArray& bytes = encoded_[format_.name + std::to_string(seconds)];
        if (bytes.isEmpty())
            bytes = MediaMaker::bytesOf(media_.encode(
                media_.wav("source.wav", MediaMaker::phrase(seconds, format_.rate)), format_.file,
                QString::fromUtf8(format_.options).split(u' ', Qt::SkipEmptyParts)));
        return bytes;
    }

    /// The power of the difference against full scale; minus infinity for equal samples.
    static double differenceDb(const std::vector<float>& samples, const float* expected) {
        double power = 0;
        for (std::size_t i = 0; i < samples.size(); ++i)
            power += std::pow(double(samples[i]) - expected[i], 2);
        return 10 * std::log10(power / double(samples.size()));
    }

    /// The difference of the `there` frames that must be read, when `count` are asked for.
    static double differenceAt(AudioFile& file, std::int64_t first, std::int64_t count,
                               std::int64_t there, const std::vector<float>& expected) {
        std::vector<float> range(std::size_t(2 * count));
        if (file.read(first, range) != std::size_t(there))
            QTest::qFail("another number of frames than are there", __FILE__, __LINE__);
        range.resize(std::size_t(2 * there));
        return differenceDb(range, expected.data() + 2 * first);
    }

    MediaMaker media_;
    std::map<std::string, QByteArray> encoded_;
    Format format_{};
    QByteArray bytes_;
    double limitDb_ = 0;
    std::mt19937 random_;
};

QTEST_GUILESS_MAIN(AudioFormatsTest)
#include "AudioFormatsTest.moc"
