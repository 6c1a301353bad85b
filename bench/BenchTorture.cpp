// Random schedules of everything a client can do to the sound graph, offline, each run twice:
// clicks, gaps, sound where there should be none, a play head that goes back, completions that are
// lost or doubled, and bytes that differ from run to run are faults. A few run as TortureTest.
//
//   BenchTorture [--from SEED] [--seeds COUNT] [--steps COUNT] [--trace]

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Torture.h"

namespace {

using ambrel::bench::Torture;

struct Options {
    std::uint64_t from = 1;
    std::uint64_t seeds = 20;
    int steps = 500;
    bool trace = false;
};

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--trace") {
            options.trace = true;
            continue;
        }
        if (i + 1 == argc)
            return false;
        const std::uint64_t value = std::strtoull(argv[++i], nullptr, 10);
        if (name == "--from")
            options.from = value;
        else if (name == "--seeds")
            options.seeds = value;
        else if (name == "--steps")
            options.steps = int(value);
        else
            return false;
    }
    return true;
}

/// How many things were wrong.
std::size_t torture(std::uint64_t seed, const Options& options, std::int64_t& frames,
                    int& segments) {
    const Torture::Result first = Torture::run(seed, options.steps, options.trace);
    frames += first.frames;
    segments += first.segments;
    for (const std::string& fault : first.faults)
        std::printf("seed %llu, %s\n", static_cast<unsigned long long>(seed), fault.c_str());
    const Torture::Result second = Torture::run(seed, options.steps);
    for (std::size_t i = 0; i < first.digests.size(); ++i)
        if (first.digests[i] != second.digests[i]) {
            std::printf("seed %llu, step %zu: differs from run to run\n",
                        static_cast<unsigned long long>(seed), i);
            return first.faults.size() + 1;
        }
    return first.faults.size();
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "BenchTorture: --from, --seeds and --steps take a number\n");
        return 2;
    }
    std::int64_t frames = 0;
    int segments = 0;
    std::size_t faults = 0;
    for (std::uint64_t i = 0; i < options.seeds; ++i)
        faults += torture(options.from + i, options, frames, segments);
    std::printf("%d segments, %lld frames, each twice: %zu faults\n", segments,
                static_cast<long long>(frames), faults);
    return faults == 0 ? 0 : 1;
}
