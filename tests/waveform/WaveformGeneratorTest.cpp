#include <atomic>
#include <cmath>

#include <QTest>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"
#include "waveform/WaveformGenerator.h"

using ambrel::AudioFileError;
using ambrel::WaveformError;
using ambrel::WaveformGenerator;
using ambrel::test::MediaMaker;
using ambrel::test::Sound;

namespace {

struct Report {
    double fraction;
    std::string message;
};

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path.string()));
}

std::vector<float> extract(const std::filesystem::path& path,
                           std::vector<Report>* reports = nullptr) {
    const std::atomic<bool> ending = false;
    return WaveformGenerator::extract(
        urlOf(path),
        [&](double fraction, const std::string& message) {
            if (reports != nullptr) {
                reports->push_back({fraction, message});
            }
        },
        ending);
}

/// The peaks worked out from the sound that the file was made of.
std::vector<float> expectedPeaks(const Sound& sound) {
    const auto frames = static_cast<std::int64_t>(sound.frames());
    const double seconds = static_cast<double>(frames) / sound.sampleRate;
    const std::int64_t bucket =
        std::max<std::int64_t>(1, static_cast<std::int64_t>(seconds * 44100) / 2000);
    std::vector<float> peaks;
    for (std::int64_t start = 0; start < frames; start += bucket) {
        const std::int64_t end = std::min(frames, start + bucket);
        float sum = 0;
        for (std::int64_t frame = start; frame < end; ++frame) {
            float mean = 0;
            for (int channel = 0; channel < sound.channels; ++channel) {
                mean += sound.samples[static_cast<std::size_t>(frame * sound.channels + channel)];
            }
            sum += std::fabs(mean / static_cast<float>(sound.channels));
        }
        peaks.push_back(sum / static_cast<float>(end - start));
    }
    const float largest = *std::max_element(peaks.begin(), peaks.end());
    for (float& peak : peaks) {
        peak = largest > 0 ? peak / largest : 0;
    }
    return peaks;
}

} // namespace

class WaveformGeneratorTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void reducesTheSoundToItsMeans_data();
    void reducesTheSoundToItsMeans();
    void isTheSameForEveryFormatOfASound();
    void reportsEveryFullBucket();
    void staysZeroForSilence();
    void stopsAtTheNextBucket();
    void plainlyRefusesWhatItCannotRead();

  private:
    MediaMaker media_;
};

void WaveformGeneratorTest::reducesTheSoundToItsMeans_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<int>("rate");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("buckets");
    QTest::newRow("10 s: 2,004 full and one partial") << 10.0 << 44100 << 2 << 2005;
    QTest::newRow("48 kHz has more buckets") << 10.0 << 48000 << 2 << 2182;
    QTest::newRow("22.05 kHz has fewer") << 10.0 << 22050 << 1 << 1003;
    QTest::newRow("shorter than 2,000 frames: one each") << 0.04 << 44100 << 1 << 1764;
    QTest::newRow("a single frame") << 1.0 / 44100 << 44100 << 1 << 1;
    QTest::newRow("four channels") << 3.0 << 44100 << 4 << 2005;
}

void WaveformGeneratorTest::reducesTheSoundToItsMeans() {
    QFETCH(double, seconds);
    QFETCH(int, rate);
    QFETCH(int, channels);
    QFETCH(int, buckets);
    const Sound phrase = MediaMaker::phrase(seconds, rate, channels);
    const std::vector<float> peaks = extract(media_.wav("phrase.wav", phrase));

    QCOMPARE(static_cast<int>(peaks.size()), buckets);
    const std::vector<float> expected = expectedPeaks(phrase);
    QCOMPARE(peaks.size(), expected.size());
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        // More than two channels are added up in another order than here.
        QVERIFY(channels > 2 ? std::fabs(peaks[i] - expected[i]) < 1e-6F : peaks[i] == expected[i]);
    }
    QCOMPARE(*std::max_element(peaks.begin(), peaks.end()), 1.0F);
}

void WaveformGeneratorTest::isTheSameForEveryFormatOfASound() {
    const auto wav = media_.encode(media_.wav("source.wav", MediaMaker::phrase(4.0)), "a16.wav",
                                   {QStringLiteral("-c:a"), QStringLiteral("pcm_s16le")});
    const std::vector<float> peaks = extract(wav);
    QCOMPARE(extract(media_.encode(wav, "a.flac")), peaks);
    QCOMPARE(extract(media_.encode(wav, "a.aiff")), peaks);
}

void WaveformGeneratorTest::reportsEveryFullBucket() {
    std::vector<Report> reports;
    const auto peaks = extract(media_.wav("ten.wav", MediaMaker::tone(440, 10.0)), &reports);

    QCOMPARE(reports.size(), peaks.size() - 1); // the partial one is not reported
    QCOMPARE(reports[0].message, std::string("Generating waveform... 0%"));
    QCOMPARE(reports[739].message, std::string("Generating waveform... 37%"));
    QCOMPARE(reports[739].fraction, 0.37);
    QCOMPARE(reports[1999].message, std::string("Generating waveform... 100%"));
    QCOMPARE(reports.back().message, std::string("Generating waveform... 100%"));
    QCOMPARE(reports.back().fraction, 1.0);
}

void WaveformGeneratorTest::staysZeroForSilence() {
    const auto peaks =
        extract(media_.wav("silence.wav", MediaMaker::tone(440, 1.0, 44100, 2, 0.0F)));
    QVERIFY(!peaks.empty());
    QVERIFY(std::all_of(peaks.begin(), peaks.end(), [](float peak) { return peak == 0.0F; }));
}

void WaveformGeneratorTest::stopsAtTheNextBucket() {
    const auto path = media_.wav("long.wav", MediaMaker::phrase(10.0));
    std::atomic<bool> ending = false;
    int reports = 0;
    const auto peaks = WaveformGenerator::extract(
        urlOf(path), [&](double, const std::string&) { ending = ++reports == 5; }, ending);
    QCOMPARE(peaks.size(), std::size_t{5});
}

void WaveformGeneratorTest::plainlyRefusesWhatItCannotRead() {
    const auto failure = [](const std::filesystem::path& path) {
        try {
            extract(path);
        } catch (const WaveformError& error) {
            return error.which;
        }
        throw std::logic_error("accepted");
    };
    QCOMPARE(failure(media_.write("text.mp3", "Not a note of music in here.\n")),
             WaveformError::Case::unreadableFile);
    MediaMaker::ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                        QStringLiteral("color=size=32x32:duration=0.2"),
                        QString::fromStdString(media_.path("film.mkv").string())});
    QCOMPARE(failure(media_.path("film.mkv")), WaveformError::Case::noAudioTrack);
    QVERIFY_EXCEPTION_THROWN(extract(media_.path("missing.wav")), AudioFileError);
}

QTEST_GUILESS_MAIN(WaveformGeneratorTest)
#include "WaveformGeneratorTest.moc"
