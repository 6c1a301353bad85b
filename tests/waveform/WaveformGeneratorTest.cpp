#include <algorithm>
#include <atomic>
#include <cmath>

#include <QTest>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"
#include "waveform/WaveformGenerator.h"

using namespace ambrel;
using test::MediaMaker;
using test::Sound;

namespace {

std::vector<float> extract(
    const std::filesystem::path& path,
    const WaveformGenerator::Progress& progress = [](auto&&...) {}, bool ending = false) {
    return WaveformGenerator::extract(QUrl::fromLocalFile(QString::fromStdString(path.string())),
                                      progress, std::atomic(ending));
}

} // namespace

class WaveformGeneratorTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void hasAboutTwoThousandPeaks() {
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
            QCOMPARE(extract(media_.wav("phrase.wav", phrase)).size(), c.buckets);
        }
    }

    void averagesTheSizeOfTheMeanOfTheChannels() {
        const auto peaksOf = [this](int channels, std::vector<float> samples) {
            samples.resize(std::size_t(4000 * channels)); // buckets of two frames
            return extract(media_.wav("few.wav", {44100, channels, samples}));
        };
        std::vector<float> peaks = peaksOf(2, {1, -1, -0.5F, -0.25F, 0.5F, 0.25F, 0.5F, 1});
        peaks.resize(3);
        QCOMPARE(peaks, (std::vector<float>{1.0F / 3, 1, 0}));
        QCOMPARE(peaksOf(1, {}), std::vector<float>(2000));
    }

    /// Parts of a minute are read by several threads.
    void isTheSameInParts() {
        const auto phrase = media_.wav("long.wav", MediaMaker::phrase(150, 8000, 1));
        const QStringList gap{u"-af"_qs, u"asetpts='PTS+gte(PTS,600000)*8000*150'"_qs};
        for (const char* name :
             {"long.wav", "long.flac", "long.mp3", "long.ogg", "long.m4a", "gap.mka"}) {
            const bool hasGap = std::string_view(name).starts_with("gap");
            const auto path = name == phrase.filename()
                                  ? phrase
                                  : media_.encode(phrase, name, hasGap ? gap : QStringList());
            const auto file = AudioFile::open(path, AudioFile::Layout::mono);
            const std::vector<float> samples = MediaMaker::readAll(*file);
            const double seconds = double(file->length()) / file->sampleRate();
            const auto bucket = std::size_t(seconds * 44100) / 2000;
            std::vector<float> expected;
            for (std::size_t at = 0; at < samples.size(); at += bucket) {
                float sum = 0;
                const auto end = std::min(at + bucket, samples.size());
                for (std::size_t i = at; i < end; ++i)
                    sum += std::abs(samples[i]);
                expected.push_back(sum / float(end - at));
            }
            const float largest = std::ranges::max(expected);
            const std::vector<float> peaks = extract(path);
            QCOMPARE(peaks.size(), expected.size());
            for (std::size_t i = 0; i < peaks.size(); ++i)
                QVERIFY2(std::abs(peaks[i] - expected[i] / largest) < 1e-4F, name);
        }
    }

    /// Working through it as silence would take hours.
    void aGapCostsNothing() {
        const auto phrase = media_.wav("phrase.wav", MediaMaker::phrase(2, 8000, 1));
        const auto path = media_.encode(phrase, "years.mka",
                                        {u"-af"_qs, u"asetpts='PTS+gte(PTS,9000)*8000*3e7'"_qs});
        const std::vector<float> peaks = extract(path);
        QCOMPARE(peaks.size(), std::size_t(363));
        QVERIFY(peaks.front() > 0 && peaks[180] == 0 && peaks.back() > 0);
    }

  private:
    MediaMaker media_;
};

QTEST_GUILESS_MAIN(WaveformGeneratorTest)
#include "WaveformGeneratorTest.moc"
