// What has to come out as it went in: a file at normal speed, and tones on a device of another
// rate. Offline. Prints rows for bench/transport.
//
//   BenchTransportExact FILE      FILE is a recording that ffmpeg can decode

#include "TransportRow.h"
#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"
#include "support/PulledGraph.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace ambrel;
using namespace ambrel::bench;

/// A recording as Ambrel opens it, and as the ffmpeg program decodes it.
struct Recording {
    explicit Recording(const std::filesystem::path& path)
        : file(AudioFile::open(path)), decoded(test::MediaMaker::decode(path)),
          fadeFrames(file->sampleRate() * 3 / 1000),
          crossfadeFrames(file->sampleRate() * 5 / 1000) {}

    std::shared_ptr<AudioFile> file;
    std::vector<float> decoded; ///< stereo
    std::int64_t fadeFrames;
    std::int64_t crossfadeFrames;
};

/// Samples of frames [from, to) of what was heard that are not the recording's from `fileFrame` on.
std::int64_t differing(std::span<const float> heard, std::int64_t from, std::int64_t to,
                       const Recording& recording, std::int64_t fileFrame) {
    std::int64_t count = 0;
    for (std::int64_t i = 2 * from; i < 2 * to; ++i) {
        const auto place = static_cast<std::size_t>(2 * fileFrame + i - 2 * from);
        count += std::size_t(i) >= heard.size() || place >= recording.decoded.size() ||
                 heard[std::size_t(i)] != recording.decoded[place];
    }
    return count;
}

void playOnce(const Recording& recording) {
    test::PulledGraph pulled(recording.file->sampleRate());
    const std::int64_t length = recording.file->length();
    pulled.play(recording.file, 0, length, std::nullopt);
    const auto heard = pulled.pullStereo(std::size_t(length) + 1000);
    const auto different = differing(heard, recording.fadeFrames, length - recording.fadeFrames,
                                     recording, recording.fadeFrames);
    printRow("100 %, the whole file: samples that differ outside the fades", atMost(0),
             double(different), "");
    printRow("100 %, the whole file: frames too many or too few", atMost(0),
             std::abs(double(heard.size() / 2) - double(length)), "");
}

/// The largest bend within so many frames of a place.
double bendAround(std::span<const float> mono, std::int64_t middle, std::int64_t frames) {
    const auto from = std::max<std::int64_t>(0, middle - frames);
    const auto to = std::min(middle + frames, std::int64_t(mono.size()));
    return test::largestBend(mono.subspan(std::size_t(from), std::size_t(to - from)));
}

/// Regions at random places, from 40 ms to a second long, five passes each.
void playLoops(const Recording& recording) {
    constexpr int regions = 100;
    constexpr int passes = 5;
    test::PulledGraph pulled(recording.file->sampleRate());
    std::mt19937 random(5);
    const std::int64_t length = recording.file->length();
    const int second = recording.file->sampleRate();
    std::int64_t different = 0;
    double largest = 0;
    // The material of a crossfade is the end of the region and what lies before its start.
    const auto own = test::channelOf(recording.decoded, 0);
    for (int i = 0; i < regions; ++i) {
        const std::int64_t count = std::uniform_int_distribution(second / 25, second)(random);
        const std::int64_t start =
            std::uniform_int_distribution(std::int64_t(second / 100), length - count)(random);
        pulled.play(recording.file, start, count, Announcement{1, start, count, 0, passes - 1});
        const auto heard = pulled.pullStereo(std::size_t(count * passes));
        for (std::int64_t pass = 0; pass < passes; ++pass) {
            const std::int64_t first = pass == 0 ? recording.fadeFrames : 0;
            const std::int64_t begin = pass * count;
            different += differing(heard, begin + first, begin + count - recording.crossfadeFrames,
                                   recording, start + first);
        }
        const auto left = test::channelOf(heard, 0);
        const double material = std::max(bendAround(own, start, recording.crossfadeFrames),
                                         bendAround(own, start + count, recording.crossfadeFrames));
        for (std::int64_t pass = 1; pass < passes; ++pass)
            largest = std::max(largest, bendAround(left, pass * count, recording.crossfadeFrames) /
                                            material);
    }
    printRow("100 %, 100 loops of 5 passes at random places: samples that differ outside the fades",
             atMost(0), double(different), "");
    printRow("  bend at a boundary, against the material's own", atMost(1.3), largest, "times");
}

/// A second of a tone, through the graph at another rate.
test::Tone through(test::PulledGraph& pulled, int fileHz, int deviceHz, double hz) {
    pulled.play(test::SyntheticFile::sine(fileHz, 2LL * fileHz, hz), 0, 2LL * fileHz, std::nullopt);
    const auto heard = pulled.pull(std::size_t(2 * deviceHz));
    return test::measureTone(
        std::span(heard).subspan(std::size_t(deviceHz / 2), std::size_t(deviceHz)), deviceHz, hz);
}

void convert(int fileHz, int deviceHz) {
    test::PulledGraph pulled(deviceHz);
    double least = 1000;
    double mostOff = 0;
    for (const double hz : {110.0, 440.0, 997.0, 5000.0, 10'000.0, 15'000.0, 18'000.0, 19'000.0,
                            19'500.0, 20'000.0}) {
        const test::Tone tone = through(pulled, fileHz, deviceHz, hz);
        least = std::min(least, tone.toResidualDb);
        mostOff = std::max(mostOff, std::abs(20 * std::log10(tone.amplitude / 0.5)));
    }
    const std::string rates = std::to_string(fileHz) + " to " + std::to_string(deviceHz) + " Hz: ";
    printRow(rates + "tone to residual, least of ten tones, 110 to 20,000 Hz", atLeast(100), least,
             "dB");
    printRow(rates + "level of these tones, most off", atMost(0.1), mostOff, "dB");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("BenchTransportExact FILE\n", stderr);
        return 2;
    }
    const Recording recording(std::filesystem::absolute(argv[1]));
    playOnce(recording);
    playLoops(recording);
    convert(44'100, 48'000);
    convert(48'000, 44'100);
    convert(96'000, 44'100);
    convert(44'100, 96'000);
    return 0;
}
