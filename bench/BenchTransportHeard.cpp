// What the loudspeaker plays, against what Ambrel says it plays: the play head, the end of a
// segment, the pause of a loop. In real time, on a sound server of its own, whose sink is recorded.
// Prints rows for bench/transport.
//
//   BenchTransportHeard [SECONDS [FILE]]   how long the play head is watched at each speed, and
//                                          where each look at it goes: speed, seconds, error in ms

#include "HandOvers.h"
#include "MonitorRecording.h"
#include "PrivateSoundServer.h"
#include "TransportRow.h"
#include "ZeroCrossings.h"
#include "audio/AudioEngine.h"
#include "audio/PlaybackModel.h"
#include "platform/sound/AudioGraph.h"
#include "platform/sound/device/DeviceOutput.h"
#include "support/MediaMaker.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

#include <QCoreApplication>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ambrel;
using namespace ambrel::bench;
using namespace std::chrono_literals;
using test::SyntheticFile;

constexpr int sinkHz = MonitorRecording::sampleRateHz;
constexpr int fileHz = 44'100;

/// A file whose sound tells its place at any moment, at any speed: the left side sweeps from 1,000
/// to 7,000 Hz in 6 s, over and over, and the right side rises so slowly that it tells which of
/// these sweeps is heard.
struct CodedFile {
    static constexpr double sweepSeconds = 6;
    static constexpr double lowHz = 1'000, hzPerSecond = 1'000;
    static constexpr double slowLowHz = 400, slowHzPerSecond = 20;
    static constexpr std::int64_t length = 170LL * fileHz;

    static double sweep(double seconds, double low, double slope) {
        return std::sin(2 * std::numbers::pi *
                        std::fmod(low * seconds + slope * seconds * seconds / 2, 1.0));
    }

    static std::shared_ptr<AudioFile> make() {
        return std::make_shared<SyntheticFile>(fileHz, length, [](std::int64_t frame) {
            const double seconds = double(frame) / fileHz;
            return std::pair(
                float(0.4 * sweep(std::fmod(seconds, sweepSeconds), lowHz, hzPerSecond)),
                float(0.4 * sweep(seconds, slowLowHz, slowHzPerSecond)));
        });
    }

    /// Whether a place is so near to where the sweep begins again that there is no telling.
    static bool isNearAnEdge(double seconds) {
        constexpr double near = 0.3;
        const double inSweep = std::fmod(seconds, sweepSeconds);
        return inSweep < near || inSweep > sweepSeconds - near;
    }

    /// Whether there is a gap in it: then it tells of no place, and the gap is another matter.
    static bool isTorn(std::span<const float> mono) {
        constexpr std::size_t piece = sinkHz / 400;
        for (std::size_t at = 0; at + piece <= mono.size(); at += piece)
            if (test::rms(mono.subspan(at, piece)) < 0.1)
                return true;
        return false;
    }

    /// The second of the file that is heard in the middle of a stretch of some 30 ms.
    static double place(std::span<const float> left, std::span<const float> right) {
        const double fine = (hzFromZeroCrossings(left, sinkHz) - lowHz) / hzPerSecond;
        const double coarse = (hzFromZeroCrossings(right, sinkHz) - slowLowHz) / slowHzPerSecond;
        return fine + sweepSeconds * std::round((coarse - fine) / sweepSeconds);
    }
};

struct Look {
    SoundClock::time_point when;
    double seconds; ///< of the file, as the play head says
};

std::vector<Look> watchPlayHead(AudioGraph& graph, std::chrono::milliseconds duration) {
    std::vector<Look> looks;
    const auto end = SoundClock::now() + duration;
    for (auto next = SoundClock::now(); next < end; next += 33ms) {
        std::this_thread::sleep_until(next);
        const auto before = SoundClock::now();
        const auto frames = graph.playerTime();
        const auto after = SoundClock::now();
        // One that was held up tells of no moment.
        if (frames && after - before < 500us)
            looks.push_back({before + (after - before) / 2, *frames / fileHz});
    }
    return looks;
}

/// How far the play head is ahead of what is heard, in milliseconds of the file.
struct Error {
    double seconds; ///< since the first look
    double ms;
};

std::vector<Error> errorsOf(const std::vector<Look>& looks, const MonitorRecording& recording) {
    constexpr std::size_t half = sinkHz * 15 / 1000;
    std::vector<Error> errors;
    recording.waitFor(looks.back().when + 50ms);
    for (const Look& look : looks) {
        if (CodedFile::isNearAnEdge(look.seconds))
            continue;
        const auto middle = std::size_t(recording.frameAt(look.when));
        const auto left = recording.channel(0, middle - half, middle + half);
        const auto right = recording.channel(1, middle - half, middle + half);
        if (CodedFile::isTorn(left))
            continue;
        const double place = CodedFile::place(left, right);
        const std::chrono::duration<double> since = look.when - looks.front().when;
        errors.push_back({since.count(), 1000 * (look.seconds - place)});
    }
    return errors;
}

void playHead(AudioGraph& graph, const MonitorRecording& recording, int percent,
              std::chrono::milliseconds duration, std::ostream* series) {
    const auto file = CodedFile::make();
    graph.setRate(float(percent) / 100);
    graph.scheduleSegment(file, 0, file->length(), [] {});
    graph.play();
    std::this_thread::sleep_for(500ms);
    const auto errors = errorsOf(watchPlayHead(graph, duration), recording);
    graph.stop();
    double worst = errors.empty() ? INFINITY : 0;
    double sum = 0;
    for (const Error& error : errors) {
        worst = std::max(worst, std::abs(error.ms));
        sum += error.ms;
        if (series)
            *series << percent << ',' << error.seconds << ',' << error.ms << '\n';
    }
    printRow(std::to_string(percent) + " %, play head against the monitor, worst of " +
                 std::to_string(errors.size()) + " looks (mean " +
                 std::to_string(std::lround(sum / double(errors.size()))) + " ms)",
             atMost(percent == 100 ? 20 : 50), worst, "ms");
}

/// A silence or a sound in the recording, in frames.
struct Stretch {
    std::size_t begin;
    std::size_t end;
};

/// The sounds from a frame on, parted by at least `gapFrames` of silence.
std::vector<Stretch> sounds(const MonitorRecording& recording, std::size_t from,
                            std::size_t gapFrames) {
    const auto mono = recording.channel(0, from, recording.frames());
    std::vector<Stretch> found;
    for (std::size_t i = 0; i < mono.size(); ++i) {
        if (mono[i] == 0)
            continue;
        if (found.empty() || from + i - found.back().end > gapFrames)
            found.push_back({from + i, 0});
        found.back().end = from + i + 1;
    }
    return found;
}

/// The call of a completion, against the last frame that was heard.
void completions(AudioGraph& graph, const MonitorRecording& recording, int percent) {
    constexpr int times = 6;
    const auto file = SyntheticFile::sine(fileHz, 10LL * fileHz, 441);
    graph.setRate(float(percent) / 100);
    double worst = 0;
    for (int i = 0; i < times; ++i) {
        const std::size_t from = recording.frames();
        std::atomic<SoundClock::time_point> called = SoundClock::time_point();
        graph.scheduleSegment(file, 0, fileHz * percent / 200 + 1000 * i,
                              [&] { called = SoundClock::now(); });
        graph.play();
        while (called.load() == SoundClock::time_point())
            std::this_thread::sleep_for(5ms);
        recording.waitFor(called.load() + 200ms);
        const auto heard = sounds(recording, from, sinkHz);
        const std::chrono::duration<double, std::milli> late =
            called.load() - recording.when(heard.empty() ? 0 : double(heard.back().end));
        worst = std::max(worst, std::abs(late.count()));
    }
    printRow(std::to_string(percent) + " %, completion against the last frame heard, worst of " +
                 std::to_string(times),
             atMost(20), worst, "ms");
}

class LoopModel final : public PlaybackModel {
  public:
    explicit LoopModel(std::int64_t pauseMs) : pauseMs_(pauseMs) {}
    bool loopEnabled() const override { return true; }
    double regionStart() const override { return 0.5; }
    double regionEnd() const override { return 0.75; }
    std::int64_t loopDelaySeconds() const override { return 0; }
    std::int64_t loopDelayMilliseconds() const override { return pauseMs_; }
    std::shared_ptr<void> observeLoop(std::function<void()> /*notify*/) override { return nullptr; }
    void setPlaybackPosition(double /*seconds*/) override {}
    void setIsPlaying(bool /*playing*/) override {}

  private:
    std::int64_t pauseMs_;
};

/// The main loop, which rests in between as the window's does.
template <typename Condition> void runUntil(Condition condition) {
    while (!condition())
        QTest::qWait(20);
}

std::filesystem::path toneFile(const test::MediaMaker& media) {
    test::Sound sound{sinkHz, 2, std::vector<float>(2UL * sinkHz)};
    for (std::size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = float(0.5 * std::cos(0.06 * double(i / 2)));
    return media.wav("tone.wav", sound);
}

/// The engine's loop, with its rules, as the window drives it: how far its pauses are off. Once
/// more if the device itself was held up, which tells nothing of the loop.
void loopPauses(const MonitorRecording& recording, int percent, std::int64_t pauseMs) {
    constexpr int passes = 8;
    constexpr int attempts = 3;
    const test::MediaMaker media;
    MainQueue queue;
    HandOvers handOvers;
    const auto model = std::make_shared<LoopModel>(pauseMs);
    const auto engine = AudioEngine::create(
        AudioGraph::create(std::make_unique<test::TappedDevice>(handOvers)), queue);
    engine->setAppState(model);
    engine->setRate(float(percent) / 100);
    auto loading =
        engine->load(QUrl::fromLocalFile(QString::fromStdString(toneFile(media).string())));
    runUntil([&] { return loading.isReady(); });
    QTest::qWait(2'000); // the device opens before a user gets to play
    const double seconds = passes * (0.25 * 100 / percent + double(pauseMs) / 1000) + 0.5;
    double worst = INFINITY;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::size_t from = recording.frames();
        const std::size_t given = handOvers.frames();
        engine->play(0.5, 0.75);
        runUntil([&] { return double(recording.frames() - from) > seconds * sinkHz; });
        engine->stop();
        const auto heard = sounds(recording, from, std::size_t(pauseMs) * sinkHz / 2000);
        worst = heard.size() < passes ? INFINITY : 0;
        for (std::size_t i = 1; i < heard.size(); ++i)
            worst =
                std::max(worst, std::abs(1000 * double(heard[i].begin - heard[i - 1].end) / sinkHz -
                                         double(pauseMs)));
        if (!handOvers.wasAskedLate(given + 1, handOvers.frames() - 1))
            break;
        runUntil([&, end = recording.frames()] { return recording.frames() > end + sinkHz; });
    }
    printRow(std::to_string(percent) + " %, a loop's pause of " + std::to_string(pauseMs) +
                 " ms as heard, worst of 7 or more",
             atMost(5), worst, "ms");
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::chrono::milliseconds duration(argc > 1 ? 1000 * std::atoi(argv[1]) : 10'000);
    std::ofstream series;
    if (argc > 2)
        series.open(argv[2]);
    PrivateSoundServer server;
    server.start({.sampleRateHz = sinkHz});
    const MonitorRecording recording;
    loopPauses(recording, 100, 250);
    loopPauses(recording, 50, 400);
    const auto owned = AudioGraph::create(std::make_unique<DeviceOutput>());
    AudioGraph& graph = *owned;
    graph.start();
    for (const int percent : {30, 100, 250})
        playHead(graph, recording, percent, duration, argc > 2 ? &series : nullptr);
    for (const int percent : {50, 100, 250})
        completions(graph, recording, percent);
    printRow(
        "the clock of this: what the server tells, off a straight line, 95 of 100 (frames arrive " +
            std::to_string(std::lround(recording.earlyMs())) + " ms early: taken off)",
        atMost(1), recording.uncertaintyMs(), "ms");
    return 0;
}
