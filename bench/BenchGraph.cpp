// The sound graph: how soon it starts and stops, and what it costs against the stretcher alone.

#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <numbers>
#include <thread>

#include <benchmark/benchmark.h>

#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioGraph.h"
#include "platform/sound/AudioOutput.h"
#include "platform/sound/device/OfflineOutput.h"
#include "platform/sound/stretch/Stretcher.h"

namespace {

using namespace ambrel;
using Clock = std::chrono::steady_clock;

constexpr int rateHz = 44100;

/// Ten minutes of three tones, made as they are read.
class Tones final : public AudioFile {
  public:
    const std::filesystem::path& path() const noexcept override { return path_; }
    int sampleRate() const noexcept override { return rateHz; }
    int channels() const noexcept override { return 2; }
    std::int64_t length() const noexcept override { return 600LL * rateHz; }
    int samplesPerFrame() const noexcept override { return 2; }
    std::size_t read(std::int64_t first, std::span<float> out) noexcept override {
        for (std::size_t i = 0; i < out.size() / 2; ++i)
            out[2 * i] = out[2 * i + 1] = table_[std::size_t(first + std::int64_t(i)) % rateHz];
        return out.size() / 2;
    }

  private:
    static std::vector<float> makeTable() {
        std::vector<float> table;
        for (int i = 0; i < rateHz; ++i) {
            const double t = 2 * std::numbers::pi * i / rateHz;
            table.push_back(static_cast<float>(
                0.2 * (std::sin(110 * t) + std::sin(554 * t) + std::sin(1660 * t))));
        }
        return table;
    }
    std::filesystem::path path_ = "/tones";
    std::vector<float> table_ = makeTable();
};

/// The file named by AMBREL_BENCH_FILE, or the tones.
std::shared_ptr<AudioFile> benchFile() {
    if (const char* path = std::getenv("AMBREL_BENCH_FILE"))
        return AudioFile::open(path);
    return std::make_shared<Tones>();
}

/// A device that is asked by the bench itself.
class ManualOutput final : public AudioOutput {
  public:
    void open(FrameSource& source) override {
        source_ = &source;
        source.prepare(rateHz, request);
    }
    void start() override {}
    void stop() override {}
    std::int64_t framesHeard() const noexcept override { return written_; }

    static constexpr std::size_t request = 256;

    /// Asks once; whether anything but silence came.
    bool ask() {
        source_->render(block_.data(), request);
        written_ += request;
        for (const float sample : block_)
            if (sample != 0)
                return true;
        return false;
    }

  private:
    FrameSource* source_ = nullptr;
    std::atomic<std::int64_t> written_{0};
    std::vector<float> block_ = std::vector<float>(2 * request);
};

double processCpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

/// From the call of scheduleSegment() to the first frames handed over, the seek included.
void startToSound(benchmark::State& state) {
    auto* output = new ManualOutput;
    const auto owned = AudioGraph::create(std::unique_ptr<AudioOutput>(output));
    AudioGraph& graph = *owned;
    const auto file = benchFile();
    graph.start();
    graph.setRate(static_cast<float>(state.range(0)) / 100);
    graph.setPitch(static_cast<float>(state.range(1)));
    std::int64_t place = 1;
    double worstMs = 0;
    for (auto _ : state) {
        const auto before = Clock::now();
        place = (place * 7919) % (file->length() / 2);
        graph.scheduleSegment(file, place, file->length() / 2, [] {});
        graph.play();
        while (!output->ask())
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        worstMs = std::max(
            worstMs, std::chrono::duration<double, std::milli>(Clock::now() - before).count());
        state.PauseTiming();
        graph.stop();
        while (output->ask()) {
        }
        // Nobody starts again at once, and real-time threads that never rest are held up for 50 ms.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        state.ResumeTiming();
    }
    state.counters["worst_ms"] = worstMs;
}

/// Frames of sound that a device is still given after stop().
void stopToSilence(benchmark::State& state) {
    auto* output = new ManualOutput;
    const auto owned = AudioGraph::create(std::unique_ptr<AudioOutput>(output));
    AudioGraph& graph = *owned;
    const auto file = benchFile();
    graph.start();
    std::int64_t most = 0;
    for (auto _ : state) {
        graph.scheduleSegment(file, 0, file->length(), [] {});
        graph.play();
        for (int heard = 0; heard < 20;)
            heard += output->ask() ? 1 : 0;
        graph.stop();
        std::int64_t frames = 0;
        while (output->ask())
            frames += ManualOutput::request;
        most = std::max(most, frames);
    }
    state.counters["most_ms"] = 1000.0 * double(most) / rateHz;
}

/// Processor time per second of output: the whole graph, against feeding the stretcher alone.
void graphAgainstStretcher(benchmark::State& state) {
    const double rate = static_cast<double>(state.range(0)) / 100;
    const double cents = static_cast<double>(state.range(1));
    constexpr std::int64_t frames = 10LL * rateHz;
    const auto file = std::make_shared<Tones>();
    double graphSeconds = 0;
    double aloneSeconds = 0;
    double worstMs = 0;
    for (auto _ : state) {
        auto* output = new OfflineOutput(rateHz);
        const auto owned = AudioGraph::create(std::unique_ptr<AudioOutput>(output));
        AudioGraph& graph = *owned;
        graph.setRate(static_cast<float>(rate));
        graph.setPitch(static_cast<float>(cents));
        graph.setEqualiserBand(2, 1000, 1, 6);
        graph.setEqualiserBypass(false);
        std::vector<float> block(2 * 512);
        graph.start();
        double before = processCpuSeconds();
        graph.scheduleSegment(file, 0, file->length(), [] {});
        graph.play();
        for (std::int64_t made = 0; made < frames; made += 512) {
            const auto begin = Clock::now();
            output->pull(block.data(), 512);
            worstMs = std::max(
                worstMs, std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
        }
        graphSeconds += processCpuSeconds() - before;

        Stretcher stretcher(rateHz);
        stretcher.reset(rate, cents);
        std::int64_t fed = 0;
        before = processCpuSeconds();
        for (std::int64_t made = 0; made < frames; fed += Stretcher::feedFrames) {
            file->read(fed, std::span(block).first(2 * Stretcher::feedFrames));
            stretcher.feed(block.data());
            while (const std::size_t got = stretcher.take(block.data(), 256))
                made += static_cast<std::int64_t>(got);
        }
        aloneSeconds += processCpuSeconds() - before;
    }
    const double seconds = 10.0 * double(state.iterations());
    state.counters["graph_s_per_s"] = graphSeconds / seconds;
    state.counters["ratio"] = graphSeconds / aloneSeconds;
    state.counters["worst_block_ms"] = worstMs;
}

BENCHMARK(startToSound)
    ->Args({100, 0})
    ->Args({50, 0})
    ->Args({300, -1200})
    ->Args({5, 1200})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(200);
BENCHMARK(stopToSilence)->Unit(benchmark::kMillisecond);
BENCHMARK(graphAgainstStretcher)
    ->Args({100, 0})
    ->Args({50, 0})
    ->Args({100, 1200})
    ->Args({300, 1200})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

} // namespace

BENCHMARK_MAIN();
