#include <cmath>
#include <random>

#include <QtTest>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"

using ambrel::AudioFile;
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
    {"alac", "alac.m4a", "-c:a alac"},
    {"mp3 cbr", "cbr.mp3", "-b:a 128k"},
    {"mp3 vbr", "vbr.mp3", "-q:a 3"},
    {"mp3 tagged", "tag.mp3", "-q:a 3 -id3v2_version 3 -write_id3v1 1 -metadata title=Practice"},
    {"mp3 bare cbr", "bare.mp3", "-b:a 128k -write_xing 0 -id3v2_version 0", true, false},
    {"mp3 bare vbr", "barev.mp3", "-q:a 3 -write_xing 0", true, false},
    {"vorbis", "a.ogg", "-c:a libvorbis -q:a 4"},
    {"opus", "a.opus", "-c:a libopus", true, true, 48000},
    {"aac", "a.m4a", "-c:a aac", false},
};

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

  private:
    MediaMaker media_;
};

void AudioFileTest::readsAnyRangeAsALinearDecode_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        QTest::newRow(formats[i].name) << i;
    }
}

void AudioFileTest::readsAnyRangeAsALinearDecode() {
    QFETCH(int, index);
    const Format& format = formats[index];
    const Sound phrase = MediaMaker::phrase(12.345, format.rate);
    const auto source = media_.wav("source.wav", phrase);
    const auto path = media_.encode(
        source, format.file, QString::fromUtf8(format.options).split(u' ', Qt::SkipEmptyParts));

    const auto file = AudioFile::open(path);
    const std::vector<float> reference = MediaMaker::decode(path);
    const std::vector<float> linear = readAll(*file);
    QCOMPARE(static_cast<std::int64_t>(linear.size() / 2), file->length());
    if (format.knowsItsLength) {
        QCOMPARE(file->length(), static_cast<std::int64_t>(phrase.frames()));
    } else {
        QCOMPARE(linear.size(), reference.size());
    }
    QVERIFY(std::equal(linear.begin(), linear.end(), reference.begin()));

    std::mt19937 random(7);
    for (int i = 0; i < 30; ++i) {
        const auto first = static_cast<std::int64_t>(random() % (linear.size() / 2));
        const std::int64_t count =
            std::min<std::int64_t>(random() % 20000 + 1, file->length() - first);
        std::vector<float> range(static_cast<std::size_t>(count) * 2);
        QCOMPARE(static_cast<std::int64_t>(file->read(first, range)), count);
        const double difference = differenceInDecibels(range, linear.data() + first * 2);
        QVERIFY2(
            difference <= (format.exact ? silent : -50.0),
            qPrintable(
                QStringLiteral("%1 frames at %2: %3 dB").arg(count).arg(first).arg(difference)));
    }
}

QTEST_GUILESS_MAIN(AudioFileTest)
#include "AudioFileTest.moc"
