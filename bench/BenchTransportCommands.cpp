// How soon a start, a stop, a pause and another region are in the frames that the device is given.
// In real time, on a sound server of its own. Prints rows for bench/transport.

#include "TimedGraph.h"
#include "TransportRow.h"
#include "support/SyntheticFile.h"

#include <random>
#include <string>

namespace {

using namespace ambrel;
using namespace ambrel::bench;
using namespace std::chrono_literals;
using test::SyntheticFile;

/// A minute on the left side, then a minute on the right.
std::shared_ptr<SyntheticFile> sides() {
    return std::make_shared<SyntheticFile>(deviceHz, 120 * deviceHz, [](std::int64_t frame) {
        const auto value = float(0.5 * std::cos(0.06 * double(frame)));
        return frame < 60 * deviceHz ? std::pair(value, 0.0F) : std::pair(0.0F, value);
    });
}

void commands(TimedGraph& timed, const Setting& setting) {
    constexpr int times = 50;
    const auto file = sides();
    timed.set(setting);
    std::mt19937 random(3);
    const auto somewhere = [&](std::int64_t from) {
        return from + std::int64_t(random() % 2'000'000);
    };
    const auto playAWhile = [&] {
        std::this_thread::sleep_for(60ms + std::chrono::microseconds(random() % 20'000));
    };
    Slowest start, pause, onward, restart, stop;
    for (int i = 0; i < times; ++i) {
        timed.call([&] { timed.play(file, somewhere(0)); });
        start.note(timed.toSound(&HandOvers::left));
        playAWhile();
        timed.call([&] { timed.graph.pause(); });
        pause.note(timed.toSilence());
        timed.call([&] { timed.graph.play(); });
        onward.note(timed.toSound(&HandOvers::left));
        playAWhile();
        timed.call([&] {
            timed.graph.stop();
            timed.play(file, somewhere(60 * deviceHz));
        });
        restart.note(timed.toSound(&HandOvers::right));
        playAWhile();
        timed.call([&] { timed.graph.stop(); });
        stop.note(timed.toSilence());
    }
    const auto print = [&setting](const char* what, double wantedMs, const Slowest& slowest) {
        printRow(std::string(setting.name) + ", " + what + ", slowest of " +
                     std::to_string(slowest.count()),
                 atMost(wantedMs), slowest.ms(), "ms");
    };
    print("start to its first frames", 60, start);
    print("pause to silence", 30, pause);
    print("on after a pause to its first frames", 60, onward);
    print("another region while playing to its first frames", 90, restart);
    print("stop to silence", 30, stop);
}

} // namespace

int main(int argc, char** argv) {
    return onPrivateServer(argc, argv, [](TimedGraph& timed) {
        for (const Setting& setting : settings)
            commands(timed, setting);
    });
}
