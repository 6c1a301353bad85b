// How fast the default sound device starts and stops, how true framesHeard() is, and whether it
// runs dry while the processors are busy. Needs a sound server; PULSE_SERVER names a private one.
//
//   BenchDevice                      latencies of start and stop
//   BenchDevice --underruns SECONDS  plays with two busy threads and counts requests that came late

#include "platform/sound/DeviceOutput.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
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
    void prepare(int sampleRateHz, std::size_t /*largestRequest*/) override {
        sampleRateHz_ = sampleRateHz;
    }

    void render(float* stereo, std::size_t frames) noexcept override {
        std::fill_n(stereo, 2 * frames, 0.0F);
        const auto now = SoundClock::now();
        if (rendered_ > 0) {
            longestGap_ = std::max(longestGap_.load(), now - last_.load());
        }
        last_ = now;
        rendered_ += static_cast<std::int64_t>(frames);
    }

    std::int64_t rendered() const { return rendered_; }
    int sampleRateHz() const { return sampleRateHz_; }
    SoundClock::time_point last() const { return last_; }
    SoundClock::duration longestGap() const { return longestGap_; }
    void forgetGaps() { longestGap_ = SoundClock::duration(0); }

  private:
    std::atomic<int> sampleRateHz_ = 0;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<SoundClock::time_point> last_ = SoundClock::time_point();
    std::atomic<SoundClock::duration> longestGap_ = SoundClock::duration(0);
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

void playUnderLoad(int seconds) {
    TimedSource source;
    DeviceOutput output;
    output.open(source);
    output.start();
    waitForRender(source, 0);
    std::this_thread::sleep_for(1s);
    source.forgetGaps();

    std::atomic<bool> ended = false;
    std::vector<std::thread> busy(2);
    for (std::thread& thread : busy) {
        thread = std::thread([&ended] {
            volatile std::uint64_t work = 0;
            while (!ended) {
                work = work + 1;
            }
        });
    }
    // The device runs dry when everything rendered has been heard.
    std::int64_t dry = 0;
    const auto end = SoundClock::now() + std::chrono::seconds(seconds);
    while (SoundClock::now() < end) {
        const bool isDry = output.framesHeard() >= source.rendered();
        dry += isDry ? 1 : 0;
        std::this_thread::sleep_for(1ms);
    }
    ended = true;
    for (std::thread& thread : busy) {
        thread.join();
    }
    const std::chrono::duration<double, std::milli> gap = source.longestGap();
    std::printf("%d s with two busy threads: longest time between two requests %.1f ms, "
                "milliseconds run dry %lld\n",
                seconds, gap.count(), static_cast<long long>(dry));
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
