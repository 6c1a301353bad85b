#include <algorithm>
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
    void reducesTheSoundToItsMeans() {
        struct Case {
            double seconds;
            int rate, channels;
            std::size_t buckets;
        };
        for (const Case& c : {
                 Case{10, 44100, 2, 2005}, // 2,004 full and one partial
                 Case{10, 48000, 2, 2182},
                 Case{10, 22050, 1, 1003},
                 Case{0.04, 44100, 1, 1764}, // shorter than 2,000 frames: one each
                 Case{1.0 / 44100, 44100, 1, 1},
                 Case{3, 44100, 4, 2005},
             }) {
            const Sound phrase = MediaMaker::phrase(c.seconds, c.rate, c.channels);
            const std::vector<float> peaks = extract(media_.wav("phrase.wav", phrase));
            QCOMPARE(peaks.size(), c.buckets);
            const std::vector<float> expected = expectedPeaks(phrase);
            // More than two channels are added up in another order than here.
            const float tolerance = c.channels > 2 ? 1e-6F : 0.0F;
            QVERIFY(std::ranges::equal(
                peaks, expected, [=](float a, float b) { return std::abs(a - b) <= tolerance; }));
            QCOMPARE(std::ranges::max(peaks), 1.0F);
        }
        const auto silence = extract(media_.wav("silence.wav", {44100, 2, {0, 0, 0, 0}}));
        QCOMPARE(silence, (std::vector<float>{0, 0}));
    }

    void isTheSameForEveryFormatOfASound() {
        const auto wav = media_.encode(media_.wav("source.wav", MediaMaker::phrase(4)), "a16.wav",
                                       {QStringLiteral("-c:a"), QStringLiteral("pcm_s16le")});
        const std::vector<float> peaks = extract(wav);
        QCOMPARE(extract(media_.encode(wav, "a.flac")), peaks);
        QCOMPARE(extract(media_.encode(wav, "a.aiff")), peaks);
    }

    void reportsEveryFullBucketAndEndsAfterARead() {
        const auto path = media_.wav("ten.wav", MediaMaker::phrase(10));
        std::vector<Report> reports;
        const auto all = extract(path, &reports);
        QCOMPARE(reports.size() + 1, all.size()); // the last is partial
        for (const auto& [index, percent] : {std::pair(0, 0), {739, 37}, {1999, 100}, {2003, 100}})
            QCOMPARE(reports.at(std::size_t(index)).message,
                     "Generating waveform... " + std::to_string(percent) + "%");
        QCOMPARE(reports[739].fraction, 0.37);
        QCOMPARE(reports.back().fraction, 1.0);
        const std::atomic<bool> ending = true;
        const auto peaks = WaveformGenerator::extract(
            urlOf(path), [](auto&&...) {}, ending);
        QVERIFY(peaks.size() < 100);
    }

    void plainlyRefusesWhatItCannotRead() {
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

  private:
    MediaMaker media_;
};

QTEST_GUILESS_MAIN(WaveformGeneratorTest)
#include "WaveformGeneratorTest.moc"
