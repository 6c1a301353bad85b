// How fast the default sound device starts and stops, how true framesHeard() is, and whether it
// runs dry while the processors are busy. Needs a sound server; PULSE_SERVER names a private one.
//
//   BenchDevice                      latencies of start and stop
//   BenchDevice --underruns SECONDS  plays at three speeds beside two busy programs and counts what
//                                    was missing

#include "GapCounter.h"
#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioGraph.h"
#include "platform/sound/device/DeviceOutput.h"

#include <benchmark/benchmark.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace ambrel;
using namespace std::chrono_literals;

/// Silence, that notes when it is asked for.
class TimedSource : public FrameSource {
  public:
    void prepare(int sampleRateHz, std::size_t /*request*/) override {
        sampleRateHz_ = sampleRateHz;
    }

    void render(float* stereo, std::size_t frames) noexcept override {
        std::fill_n(stereo, 2 * frames, 0.0F);
        last_ = SoundClock::now();
        rendered_ += static_cast<std::int64_t>(frames);
    }

    std::int64_t rendered() const { return rendered_; }
    int sampleRateHz() const { return sampleRateHz_; }
    SoundClock::time_point last() const { return last_; }

  private:
    std::atomic<int> sampleRateHz_ = 0;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<SoundClock::time_point> last_ = SoundClock::time_point();
};

void waitForRender(const TimedSource& source, std::int64_t after) {
    while (source.rendered() == after) {
        std::this_thread::yield();
    }
}

/// From start() to the first render(). Argument: milliseconds of pause before each start.
void BM_Start(benchmark::State& state) {
    TimedSource source;
    DeviceOutput output;
    output.open(source);
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(state.range(0)));
        const std::int64_t rendered = source.rendered();
        const auto begin = SoundClock::now();
        output.start();
        waitForRender(source, rendered);
        state.SetIterationTime(std::chrono::duration<double>(source.last() - begin).count());
        std::this_thread::sleep_for(100ms);
        output.stop();
    }
}
BENCHMARK(BM_Start)->Arg(200)->Arg(4'000)->UseManualTime()->Iterations(10)->Unit(
    benchmark::kMillisecond);

/// From stop() to the last render().
void BM_Stop(benchmark::State& state) {
    TimedSource source;
    DeviceOutput output;
    output.open(source);
    for (auto _ : state) {
        const std::int64_t rendered = source.rendered();
        output.start();
        waitForRender(source, rendered);
        std::this_thread::sleep_for(100ms);
        const auto begin = SoundClock::now();
        output.stop();
        std::this_thread::sleep_for(100ms);
        const double seconds = std::chrono::duration<double>(source.last() - begin).count();
        state.SetIterationTime(std::max(seconds, 0.0));
    }
}
BENCHMARK(BM_Stop)->UseManualTime()->Iterations(20)->Unit(benchmark::kMillisecond);

/// Ten minutes in which no sample is 0.
class Tone final : public AudioFile {
  public:
    const std::filesystem::path& path() const noexcept override { return path_; }
    int sampleRate() const noexcept override { return 48'000; }
    int channels() const noexcept override { return 2; }
    std::int64_t length() const noexcept override { return 600LL * sampleRate(); }
    int samplesPerFrame() const noexcept override { return 2; }
    std::size_t read(std::int64_t first, std::span<float> out) noexcept override {
        for (std::size_t i = 0; i < out.size(); ++i) {
            const auto frame = static_cast<double>(first) + static_cast<double>(i / 2) + 0.25;
            out[i] = static_cast<float>(0.3 * std::sin(0.06 * frame));
        }
        return out.size() / 2;
    }

  private:
    std::filesystem::path path_ = "/tone";
};

/// Two programs of their own, as busy as can be.
class Load {
  public:
    Load() {
        for (pid_t& child : children_) {
            child = fork();
            if (child == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                for (volatile std::uint64_t work = 0;;) {
                    work = work + 1;
                }
            }
        }
    }
    ~Load() {
        for (const pid_t child : children_) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

  private:
    std::array<pid_t, 2> children_{};
};

void playUnderLoad(int seconds) {
    test::GapCounter counter;
    auto* const output = new test::TappedDevice(counter);
    const auto owned = AudioGraph::create(std::unique_ptr<AudioOutput>(output));
    AudioGraph& graph = *owned;
    std::this_thread::sleep_for(2s); // the device opens before a user gets to play
    const Load load;
    const auto file = std::make_shared<Tone>();
    for (const int percent : {100, 75, 40}) {
        graph.setRate(static_cast<float>(percent) / 100);
        graph.scheduleSegment(file, 0, file->length(), [] {});
        graph.start();
        graph.play();
        std::this_thread::sleep_for(1s);
        const double silenceMs = counter.silenceMs();
        counter.takeLongestGapMs();
        // The device runs dry when everything rendered has been heard.
        std::int64_t dry = 0;
        const auto end = SoundClock::now() + std::chrono::seconds(seconds) / 3;
        while (SoundClock::now() < end) {
            dry += output->framesHeard() >= counter.framesRendered() ? 1 : 0;
            std::this_thread::sleep_for(1ms);
        }
        std::printf("%d %%, %d s, two busy programs: %.1f ms of silence within the sound, longest "
                    "time between two requests %.1f ms, milliseconds run dry %lld\n",
                    percent, seconds / 3, counter.silenceMs() - silenceMs,
                    counter.takeLongestGapMs(), static_cast<long long>(dry));
        std::fflush(stdout);
        graph.stop();
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--underruns") == 0) {
        playUnderLoad(std::atoi(argv[2]));
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
