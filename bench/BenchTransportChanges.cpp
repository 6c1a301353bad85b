// How soon a change of pitch, equaliser or speed is in the frames that the device is given while
// something plays, and whether it clicks or leaves a gap. In real time, on a sound server of its
// own. Prints rows for bench/transport.

#include "TimedGraph.h"
#include "TransportRow.h"
#include "ZeroCrossings.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

#include <numbers>
#include <optional>
#include <random>
#include <span>
#include <string>

namespace {

using namespace ambrel;
using namespace ambrel::bench;
using namespace std::chrono_literals;
using test::SyntheticFile;

constexpr int perMs = deviceHz / 1000;
constexpr int times = 4;

/// What is recorded of each change, in milliseconds before and after the call.
constexpr int beforeMs = 250;
constexpr int afterMs = 500;
constexpr int settledMs = 300; ///< after the call, all is as it will be

/// Figures of the sound around a change, one for each millisecond, of the 10 ms around it.
struct Profile {
    std::vector<double> hz;
    std::vector<double> levelDb;
    std::vector<double> bend;

    static std::size_t at(int ms) { return std::size_t(ms + beforeMs); }
};

Profile profileOf(std::span<const float> mono) {
    constexpr std::size_t half = 5UL * perMs;
    Profile profile;
    for (std::size_t middle = half; middle + half <= mono.size(); middle += perMs) {
        const auto around = mono.subspan(middle - half, 2 * half);
        profile.hz.push_back(hzFromZeroCrossings(around, deviceHz));
        profile.levelDb.push_back(20 * std::log10(test::rms(around) + 1e-9));
        profile.bend.push_back(test::largestBend(around));
    }
    return profile;
}

double mean(const std::vector<double>& values, int fromMs, int toMs) {
    double sum = 0;
    for (int ms = fromMs; ms < toMs; ++ms)
        sum += values[Profile::at(ms)];
    return sum / (toMs - fromMs);
}

/// The last moment that is still nearer to how it was than to how it will be.
double crossing(const std::vector<double>& values) {
    const double before = mean(values, -200, -20);
    const double after = mean(values, settledMs, afterMs - 10);
    int ms = settledMs;
    while (ms > -20 &&
           std::abs(values[Profile::at(ms)] - after) < std::abs(values[Profile::at(ms)] - before))
        --ms;
    return ms;
}

/// A sweep turns speed into a slope: where the line fitted before meets the one fitted after.
double meetingOfLines(const std::vector<double>& hz) {
    const auto line = [&](int fromMs, int toMs) {
        double t = 0, tt = 0, f = 0, tf = 0;
        const int n = toMs - fromMs;
        for (int ms = fromMs; ms < toMs; ++ms) {
            const double value = hz[Profile::at(ms)];
            t += ms;
            tt += double(ms) * ms;
            f += value;
            tf += ms * value;
        }
        const double slope = (n * tf - t * f) / (n * tt - t * t);
        return std::pair(slope, (f - slope * t) / n);
    };
    const auto [slopeBefore, offsetBefore] = line(-220, -20);
    const auto [slopeAfter, offsetAfter] = line(settledMs - 50, afterMs - 10);
    return (offsetBefore - offsetAfter) / (slopeAfter - slopeBefore);
}

struct Change {
    std::string what;
    Setting from;
    std::function<void(AudioGraph&)> make;
    std::shared_ptr<AudioFile> file; ///< shows when the change is heard
    std::shared_ptr<AudioFile> tone; ///< shows what else is
    double (*effectMs)(const Profile&);
    double wantedMs;
};

struct Click {
    double bend = 0;   ///< the largest, against the largest before and after
    double dropDb = 0; ///< of the level, below the softest before and after
};

void note(Click& click, const Profile& profile) {
    const auto largest = [&](int fromMs, int toMs) {
        return *std::max_element(profile.bend.begin() + std::ptrdiff_t(Profile::at(fromMs)),
                                 profile.bend.begin() + std::ptrdiff_t(Profile::at(toMs)));
    };
    const double own = std::max(largest(-200, -20), largest(settledMs, afterMs - 10));
    click.bend = std::max(click.bend, largest(-20, settledMs) / own);
    const auto softest = [&](int fromMs, int toMs) {
        return *std::min_element(profile.levelDb.begin() + std::ptrdiff_t(Profile::at(fromMs)),
                                 profile.levelDb.begin() + std::ptrdiff_t(Profile::at(toMs)));
    };
    const double softer = std::min(softest(-200, -20), softest(settledMs, afterMs - 10));
    for (int ms = -20; ms < settledMs; ++ms)
        click.dropDb = std::max(click.dropDb, softer - profile.levelDb[Profile::at(ms)]);
}

/// The sound from before the change until it is settled; none if the device itself was held up.
std::optional<Profile> play(TimedGraph& timed, const Change& change,
                            const std::shared_ptr<AudioFile>& file,
                            std::chrono::microseconds wait) {
    timed.graph.setEqualiserBypass(false);
    timed.graph.setEqualiserGain(2, 0);
    timed.set(change.from);
    timed.call([&] { timed.play(file, 0); });
    timed.toSound(&HandOvers::left);
    std::this_thread::sleep_for(400ms + wait);
    timed.call([&] { change.make(timed.graph); });
    const std::size_t from = timed.before - std::size_t(beforeMs + 5) * perMs;
    const std::size_t to = timed.before + std::size_t(afterMs + 5) * perMs;
    while (timed.handOvers.frames() < to)
        std::this_thread::sleep_for(5ms);
    timed.graph.stop();
    std::this_thread::sleep_for(50ms);
    if (timed.handOvers.wasAskedLate(from, to - 1))
        return std::nullopt;
    return profileOf(timed.handOvers.leftOf(from, to));
}

void measure(TimedGraph& timed, const Change& change) {
    std::mt19937 random(9);
    Slowest slowest;
    Click click;
    int clicks = 0;
    for (int i = 0; i < 3 * times && std::min(slowest.count(), clicks) < times; ++i) {
        const auto wait = std::chrono::microseconds(random() % 25'000);
        const bool isTone = change.file == change.tone;
        if (const auto profile = play(timed, change, change.file, wait)) {
            const double frame = double(timed.before) + change.effectMs(*profile) * perMs;
            slowest.note(timed.reactionAt(std::size_t(frame)));
            if (isTone) {
                note(click, *profile);
                ++clicks;
            }
        }
        if (isTone)
            continue;
        if (const auto profile = play(timed, change, change.tone, wait)) {
            note(click, *profile);
            ++clicks;
        }
    }
    printRow(change.what + ", slowest of " + std::to_string(slowest.count()),
             atMost(change.wantedMs), slowest.ms(), "ms");
    printRow("  bend, against before and after, worst of " + std::to_string(clicks), atMost(1.3),
             click.bend, "times");
    // Half of it is where a gap begins.
    printRow("  drop of level, below the softest before and after", atMost(6), click.dropDb, "dB");
}

/// 600 Hz at first, 1,000 Hz more each second.
std::shared_ptr<SyntheticFile> sweep() {
    return std::make_shared<SyntheticFile>(deviceHz, 8 * deviceHz, [](std::int64_t frame) {
        const double t = double(frame) / deviceHz;
        const auto value =
            float(0.4 * std::sin(2 * std::numbers::pi * (600 * t + 0.5 * 1000 * t * t)));
        return std::pair(value, value);
    });
}

/// A tone that is heard at 1,000 Hz, the middle of the band that is changed.
std::shared_ptr<SyntheticFile> toneFor(const Setting& setting) {
    return SyntheticFile::sine(deviceHz, 60LL * deviceHz, 1000 / std::exp2(setting.cents / 1200),
                               0.2);
}

std::vector<Change> changes() {
    const auto toHz = [](const Profile& profile) { return crossing(profile.hz); };
    const auto toLevel = [](const Profile& profile) { return crossing(profile.levelDb); };
    const auto toSpeed = [](const Profile& profile) { return meetingOfLines(profile.hz); };
    std::vector<Change> all;
    for (const Setting& from : settings) {
        const std::string at = std::string(from.name) + ", ";
        const auto tone = toneFor(from);
        all.push_back({at + "300 cents up", from,
                       [from](AudioGraph& graph) { graph.setPitch(from.cents + 300); }, tone, tone,
                       toHz, 60});
        all.push_back({at + "equaliser 12 dB up", from,
                       [](AudioGraph& graph) { graph.setEqualiserGain(2, 12); }, tone, tone,
                       toLevel, 60});
    }
    const auto speed = [&](const std::string& what, Setting from, float rate) {
        all.push_back({what, from, [rate](AudioGraph& graph) { graph.setRate(rate); }, sweep(),
                       toneFor(from), toSpeed, from.cents < 0 ? 150.0 : 100.0});
    };
    speed("100 to 50 %", {"", 1, 0}, 0.5);
    speed("50 to 75 %", {"", 0.5, 0}, 0.75);
    speed("50 to 100 %", {"", 0.5, 0}, 1);
    speed("30 to 250 %", {"", 0.3, 0}, 2.5);
    speed("150 to 100 % at -1200 cents", {"", 1.5, -1200}, 1);
    speed("100 to 50 % at -1200 cents", {"", 1, -1200}, 0.5);
    return all;
}

} // namespace

int main(int argc, char** argv) {
    return onPrivateServer(argc, argv, [](TimedGraph& timed) {
        timed.graph.setEqualiserBand(2, 1000, 1, 0);
        for (const Change& change : changes())
            measure(timed, change);
    });
}
