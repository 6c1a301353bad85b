// Loops of up to a thousand passes: whether each begins where it should, whether they drift, and
// how clean the boundaries sound. Offline. Prints rows for bench/transport.

#include "TransportRow.h"
#include "support/PulledGraph.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <initializer_list>
#include <numbers>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace ambrel;
using namespace ambrel::bench;
using test::SyntheticFile;

constexpr int rateHz = 44'100;
constexpr std::int64_t fadeFrames = rateHz * 3 / 1000;
constexpr std::int64_t crossfadeFrames = rateHz * 5 / 1000;

/// Where every region begins: sound of the file lies before it.
constexpr std::int64_t startFrame = 4'410;

struct Loop {
    std::int64_t passFrames;
    int passes;
};

std::string inWords(std::initializer_list<Loop> loops) {
    std::string words;
    for (const Loop& loop : loops)
        words += (words.empty() ? "" : ", ") + std::to_string(loop.passes) + " x " +
                 std::to_string(std::lround(1000.0 * double(loop.passFrames) / rateHz)) + " ms";
    return words;
}

double milliseconds(double frames) {
    return 1000 * frames / rateHz;
}

/// How far `heard` is from the file's frames from `fileFrame` on, in frames; most if it is neither.
std::int64_t shift(std::span<const float> heard, const SyntheticFile& file,
                   std::int64_t fileFrame) {
    constexpr std::int64_t most = 500;
    const auto isAt = [&](std::int64_t by) {
        for (std::size_t i = 0; i < heard.size(); ++i)
            if (heard[i] != file.at(fileFrame + by + std::int64_t(i)).first)
                return false;
        return true;
    };
    for (std::int64_t by = 0; by < most; ++by)
        if (isAt(by) || isAt(-by))
            return by;
    return most;
}

/// At normal speed no two frames of the file are alike, so each tells its place. A pass that is
/// shorter than a fade lies in it or has its first half for itself.
void exactLoop(Loop loop, double pauseSeconds, double& mostShifted, double& different) {
    const auto file = SyntheticFile::numbered(rateHz, 60'000);
    test::PulledGraph pulled(rateHz);
    const std::int64_t gap = std::llround(pauseSeconds * rateHz);
    const std::int64_t count = loop.passFrames;
    pulled.play(file, startFrame, count,
                Announcement{1, startFrame, count, pauseSeconds, loop.passes - 1});
    const std::int64_t edge = std::min(gap > 0 ? fadeFrames : crossfadeFrames, count / 2);
    const std::int64_t end = loop.passes * count;
    for (int pass = 0; pass < loop.passes; ++pass) {
        const std::int64_t silent = pass + 1 < loop.passes ? gap : 0;
        const auto heard = pulled.pull(std::size_t(count + silent));
        if (std::int64_t(heard.size()) != count + silent) {
            mostShifted = double(count);
            return;
        }
        const std::int64_t faded = gap > 0 ? fadeFrames : fadeFrames - pass * count;
        const std::int64_t first = std::clamp<std::int64_t>(faded, 0, count);
        const std::int64_t last =
            std::min(count - edge, gap > 0 ? count : end - fadeFrames - pass * count);
        if (last <= first)
            continue;
        const auto sure = std::min<std::int64_t>(16, last - first);
        mostShifted =
            std::max(mostShifted,
                     double(shift(std::span(heard).subspan(std::size_t(first), std::size_t(sure)),
                                  *file, startFrame + first)));
        for (std::int64_t i = first; i < last; ++i)
            different += heard[std::size_t(i)] != file->at(startFrame + i).first;
        for (std::int64_t i = count; i < count + silent; ++i)
            different += heard[std::size_t(i)] != 0;
    }
}

void exactLoops(double pauseSeconds, std::initializer_list<Loop> loops) {
    double mostShifted = 0;
    double different = 0;
    for (const Loop& loop : loops)
        exactLoop(loop, pauseSeconds, mostShifted, different);
    const std::string what =
        "100 %, " + inWords(loops) + (pauseSeconds > 0 ? ", 50 ms of pause: " : ": ");
    printRow(what + "pass onset error", atMost(0), mostShifted, "frames");
    printRow(what + "frames that differ", atMost(0), different, "");
}

/// A burst in the middle of every pass, in the file too: a loop of one sounds as the file does. The
/// passes are whole hops of the attack finder (128 frames, or half of one), so that each of the
/// file's bursts is found alike.
std::shared_ptr<SyntheticFile> bursts(Loop loop) {
    const std::int64_t apart = loop.passFrames;
    const std::int64_t length = startFrame + apart * (loop.passes + 1);
    return std::make_shared<SyntheticFile>(rateHz, length, [apart](std::int64_t frame) {
        const std::int64_t place = (frame - startFrame + startFrame * apart) % apart;
        const double from = double(place) - double(apart) / 2;
        const double width = double(apart) / 15;
        const auto value = float(0.5 * std::exp(-from * from / (2 * width * width)) *
                                 std::sin(0.6 * double(place)));
        return std::pair(value, value);
    });
}

/// How far the sound's energy lies from the middle of each pass, in frames. The energy's first
/// harmonic tells it, so that what is smeared evenly over the pass does not count; of passes so
/// short that the harmonic is weak, `together` are taken as one.
std::vector<double> burstPlaces(std::span<const float> heard, double passFrames, int together) {
    std::vector<double> places;
    for (double begin = 0; begin + passFrames * together <= double(heard.size());
         begin += passFrames * together) {
        std::complex<double> sum = 0;
        for (auto i = std::size_t(begin); i < std::size_t(begin + passFrames * together); ++i)
            sum += double(heard[i]) * heard[i] *
                   std::polar(1.0, 2 * std::numbers::pi * (double(i) - begin) / passFrames);
        places.push_back(std::arg(-sum) / (2 * std::numbers::pi) * passFrames);
    }
    return places;
}

double mean(std::span<const double> values) {
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum / double(values.size());
}

/// A loop against the same sound without a loop.
struct Comparison {
    double onsetErrorMs = 0;     ///< pass onset error, against playing without a loop
    double driftMs = 0;          ///< drift: the last passes against the tenth
    double differenceDb = -200;  ///< between the two sounds, relative to full scale
    double stretcherErrorMs = 0; ///< onset error of the stretcher itself
};

std::vector<float> stretched(Loop loop, double rate, bool looped) {
    test::PulledGraph pulled(rateHz);
    const std::int64_t count = loop.passFrames;
    const std::int64_t all = count * loop.passes;
    pulled.play(bursts(loop), startFrame, looped ? count : all,
                looped ? std::optional(Announcement{1, startFrame, count, 0, loop.passes - 1})
                       : std::nullopt,
                rate);
    return pulled.pull(std::size_t(double(all) / rate) + rateHz);
}

void stretchedLoop(Loop loop, double rate, Comparison& worst) {
    const auto looped = stretched(loop, rate, true);
    const auto unlooped = stretched(loop, rate, false);
    const double perPass = double(loop.passFrames) / rate;
    const double wantedFrames = perPass * loop.passes;
    worst.onsetErrorMs =
        std::max(worst.onsetErrorMs, std::abs(milliseconds(double(looped.size()) - wantedFrames)));
    float difference = 0;
    for (std::size_t i = 0; i < std::min(looped.size(), unlooped.size()); ++i)
        difference = std::max(difference, std::abs(looped[i] - unlooped[i]));
    worst.differenceDb = std::max(worst.differenceDb, 20 * std::log10(double(difference) + 1e-10));
    if (loop.passFrames < rateHz / 100)
        return; // a tone to the ear and to the stretcher
    const int together = std::max(1, loop.passes / 100);
    const auto places = burstPlaces(looped, perPass, together);
    const auto own = burstPlaces(unlooped, perPass, together);
    // The first and the last pass border on silence.
    const std::size_t edge = 2;
    for (std::size_t i = edge; i + edge < std::min(places.size(), own.size()); ++i) {
        worst.onsetErrorMs =
            std::max(worst.onsetErrorMs, std::abs(milliseconds(places[i] - own[i])));
        worst.stretcherErrorMs =
            std::max(worst.stretcherErrorMs, std::abs(milliseconds(places[i])));
    }
    const auto tenth = std::max<std::size_t>(edge, std::size_t(10 / together));
    const std::size_t some = (places.size() - edge - tenth) / 2;
    const double early = mean(std::span(places).subspan(tenth, some));
    const double late = mean(std::span(places).subspan(places.size() - edge - some, some));
    worst.driftMs = std::max(worst.driftMs, std::abs(milliseconds(late - early)));
}

/// A tone of whole periods, so that what is looped is one tone without an end.
void steadyTone(std::int64_t count, double rate, double& drop, double& bend) {
    const double periods = std::max(1.0, std::round(441.0 * double(count) / rateHz));
    const double hz = periods * rateHz / double(count);
    test::PulledGraph pulled(rateHz);
    pulled.play(SyntheticFile::sine(rateHz, 60'000, hz), startFrame, count,
                Announcement{1, startFrame, count}, rate);
    const auto heard = pulled.pull(std::size_t(rate < 0.1 ? 6 : 3) * rateHz);
    const auto steady = std::span(heard).subspan(std::size_t(rate < 0.1 ? 2 : 1) * rateHz);
    drop = std::max(drop, -test::levelRange(steady, rateHz).quietestDb);
    const double own = 0.5 * std::pow(2 * std::numbers::pi * hz / rateHz, 2);
    bend = std::max(bend, test::largestBend(steady) / own);
}

/// Pass onset error of a tone with a pause before each pass.
void pausedLoop(Loop loop, double rate, double pauseSeconds, double& errorMs) {
    test::PulledGraph pulled(rateHz);
    const std::int64_t count = loop.passFrames;
    pulled.play(SyntheticFile::sine(rateHz, 60'000, 441), startFrame, count,
                Announcement{1, startFrame, count, pauseSeconds, loop.passes - 1}, rate);
    const double apart = double(count) / rate + pauseSeconds * rateHz;
    const auto heard = pulled.pull(std::size_t(apart * loop.passes) + rateHz);
    int passes = 0;
    std::size_t silent = std::size_t(rateHz);
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (heard[i] != 0 && double(silent) > 0.5 * pauseSeconds * rateHz)
            errorMs = std::max(errorMs, std::abs(milliseconds(double(i) - apart * passes++)));
        silent = heard[i] != 0 ? 0 : silent + 1;
    }
    if (passes != loop.passes)
        errorMs = milliseconds(apart);
}

void stretchedLoops(double rate, std::initializer_list<Loop> loops, Loop paused) {
    const std::string speed = std::to_string(std::lround(rate * 100)) + " %, ";
    Comparison worst;
    for (const Loop& loop : loops)
        stretchedLoop(loop, rate, worst);
    printRow(speed + inWords(loops) + ": pass onset error", atMost(3), worst.onsetErrorMs, "ms");
    printRow("  drift: the last passes against the tenth", atMost(3), worst.driftMs, "ms");
    printRow(
        "  difference from the same sound without a loop (onset error of the stretcher itself: " +
            std::to_string(std::lround(worst.stretcherErrorMs)) + " ms)",
        atMost(-60), worst.differenceDb, "dB");
    double off = 0;
    pausedLoop(paused, rate, 0.02, off);
    printRow(speed + inWords({paused}) + ", 20 ms of pause: pass onset error", atMost(3), off,
             "ms");
}

void steadyTones(double rate) {
    double drop = 0;
    double bend = 0;
    for (const std::int64_t count : {44, 882, 4'007})
        steadyTone(count, rate, drop, bend);
    const std::string what =
        std::to_string(std::lround(rate * 100)) + " %, a tone in passes of 1, 20 and 91 ms: ";
    printRow(what + "drop of level", atMost(1), drop, "dB");
    printRow(what + "bend, against the tone's own", atMost(1.3), bend, "times");
}

} // namespace

int main() {
    exactLoops(0, {{44, 1000}, {882, 1000}, {22'050, 1000}});
    exactLoops(0.05, {{882, 1000}, {22'050, 1000}});
    stretchedLoops(0.05, {{64, 1000}, {896, 100}, {4'096, 80}}, {896, 30});
    stretchedLoops(0.3, {{64, 1000}, {896, 200}, {4'096, 30}}, {896, 300});
    stretchedLoops(0.5, {{64, 1000}, {896, 500}, {4'096, 60}}, {896, 500});
    stretchedLoops(1.33, {{64, 1000}, {896, 1000}, {4'096, 100}}, {896, 1000});
    stretchedLoops(2.5, {{64, 1000}, {896, 1000}, {4'096, 100}}, {896, 1000});
    stretchedLoops(3, {{64, 1000}, {896, 1000}, {4'096, 100}}, {896, 1000});
    for (const double rate : {0.05, 0.3, 0.5, 1.0, 1.33, 2.5, 3.0})
        steadyTones(rate);
    return 0;
}
