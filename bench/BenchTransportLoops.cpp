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
constexpr std::int64_t seamFrames = rateHz * 5 / 1000;

/// Where every region begins: sound of the file lies before it.
constexpr std::int64_t startFrame = 4'410;

struct Course {
    std::int64_t passFrames;
    int passes;
};

std::string inWords(std::initializer_list<Course> courses) {
    std::string words;
    for (const Course& course : courses)
        words += (words.empty() ? "" : ", ") + std::to_string(course.passes) + " x " +
                 std::to_string(std::lround(1000.0 * double(course.passFrames) / rateHz)) + " ms";
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
void exactLoop(Course course, double pauseSeconds, double& mostShifted, double& different) {
    const auto file = SyntheticFile::numbered(rateHz, 60'000);
    test::PulledGraph pulled(rateHz);
    const std::int64_t gap = std::llround(pauseSeconds * rateHz);
    const std::int64_t count = course.passFrames;
    pulled.play(file, startFrame, count,
                Announcement{1, startFrame, count, pauseSeconds, course.passes - 1});
    const std::int64_t edge = std::min(gap > 0 ? fadeFrames : seamFrames, count / 2);
    const std::int64_t end = course.passes * count;
    for (int pass = 0; pass < course.passes; ++pass) {
        const std::int64_t silent = pass + 1 < course.passes ? gap : 0;
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

void exactLoops(double pauseSeconds, std::initializer_list<Course> courses) {
    double mostShifted = 0;
    double different = 0;
    for (const Course& course : courses)
        exactLoop(course, pauseSeconds, mostShifted, different);
    const std::string what =
        "100 %, " + inWords(courses) + (pauseSeconds > 0 ? ", 50 ms of pause: " : ": ");
    printRow(what + "a pass begins beside its frame", atMost(0), mostShifted, "frames");
    printRow(what + "frames that differ", atMost(0), different, "");
}

/// A burst in the middle of every pass, in the file too: a loop of one sounds as the file does.
std::shared_ptr<SyntheticFile> bursts(Course course) {
    const std::int64_t apart = course.passFrames;
    const std::int64_t length = startFrame + apart * (course.passes + 1);
    return std::make_shared<SyntheticFile>(rateHz, length, [apart](std::int64_t frame) {
        const std::int64_t place = (frame - startFrame + startFrame * apart) % apart;
        const double from = double(place) - double(apart) / 2;
        const double width = double(apart) / 15;
        const auto value = float(0.5 * std::exp(-from * from / (2 * width * width)) *
                                 std::sin(0.6 * double(place)));
        return std::pair(value, value);
    });
}

/// Where the sound's energy lies in each pass beside its middle, in frames. The energy's first
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
struct Beside {
    double passMs = 0;          ///< pass onset error, against playing without a loop
    double driftMs = 0;         ///< drift: the last passes against the tenth
    double differenceDb = -200; ///< between the two sounds, relative to full scale
    double courseMs = 0;        ///< onset error of the stretcher itself
};

std::vector<float> stretched(Course course, double rate, bool looped) {
    test::PulledGraph pulled(rateHz);
    const std::int64_t count = course.passFrames;
    const std::int64_t all = count * course.passes;
    pulled.play(bursts(course), startFrame, looped ? count : all,
                looped ? std::optional(Announcement{1, startFrame, count, 0, course.passes - 1})
                       : std::nullopt,
                rate);
    return pulled.pull(std::size_t(double(all) / rate) + rateHz);
}

void stretchedLoop(Course course, double rate, Beside& beside) {
    const auto loop = stretched(course, rate, true);
    const auto line = stretched(course, rate, false);
    const double perPass = double(course.passFrames) / rate;
    const double wantedFrames = perPass * course.passes;
    beside.passMs =
        std::max(beside.passMs, std::abs(milliseconds(double(loop.size()) - wantedFrames)));
    float difference = 0;
    for (std::size_t i = 0; i < std::min(loop.size(), line.size()); ++i)
        difference = std::max(difference, std::abs(loop[i] - line[i]));
    beside.differenceDb =
        std::max(beside.differenceDb, 20 * std::log10(double(difference) + 1e-10));
    if (course.passFrames < rateHz / 100)
        return; // a tone to the ear and to the stretcher
    const int together = std::max(1, course.passes / 100);
    const auto places = burstPlaces(loop, perPass, together);
    const auto own = burstPlaces(line, perPass, together);
    // The first and the last pass border on silence.
    const std::size_t edge = 2;
    for (std::size_t i = edge; i + edge < std::min(places.size(), own.size()); ++i) {
        beside.passMs = std::max(beside.passMs, std::abs(milliseconds(places[i] - own[i])));
        beside.courseMs = std::max(beside.courseMs, std::abs(milliseconds(places[i])));
    }
    const auto tenth = std::max<std::size_t>(edge, std::size_t(10 / together));
    const std::size_t some = (places.size() - edge - tenth) / 2;
    const double early = mean(std::span(places).subspan(tenth, some));
    const double late = mean(std::span(places).subspan(places.size() - edge - some, some));
    beside.driftMs = std::max(beside.driftMs, std::abs(milliseconds(late - early)));
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
    bend = std::max(bend, test::sharpestBend(steady) / own);
}

/// Pass onset error of a tone with a pause before each pass.
void pausedLoop(Course course, double rate, double pauseSeconds, double& beside) {
    test::PulledGraph pulled(rateHz);
    const std::int64_t count = course.passFrames;
    pulled.play(SyntheticFile::sine(rateHz, 60'000, 441), startFrame, count,
                Announcement{1, startFrame, count, pauseSeconds, course.passes - 1}, rate);
    const double apart = double(count) / rate + pauseSeconds * rateHz;
    const auto heard = pulled.pull(std::size_t(apart * course.passes) + rateHz);
    int passes = 0;
    std::size_t silent = std::size_t(rateHz);
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (heard[i] != 0 && double(silent) > 0.5 * pauseSeconds * rateHz)
            beside = std::max(beside, std::abs(milliseconds(double(i) - apart * passes++)));
        silent = heard[i] != 0 ? 0 : silent + 1;
    }
    if (passes != course.passes)
        beside = milliseconds(apart);
}

void stretchedLoops(double rate, std::initializer_list<Course> courses, Course paused) {
    const std::string speed = std::to_string(std::lround(rate * 100)) + " %, ";
    Beside beside;
    for (const Course& course : courses)
        stretchedLoop(course, rate, beside);
    printRow(speed + inWords(courses) + ": a pass is heard beside its place", atMost(3),
             beside.passMs, "ms");
    printRow("  the last passes beside the tenth", atMost(3), beside.driftMs, "ms");
    printRow("  difference from the same sound without a loop (the stretcher itself puts a burst " +
                 std::to_string(std::lround(beside.courseMs)) + " ms beside its place)",
             atMost(-60), beside.differenceDb, "dB");
    double off = 0;
    pausedLoop(paused, rate, 0.02, off);
    printRow(speed + inWords({paused}) + ", 20 ms of pause: a pass begins beside its place",
             atMost(3), off, "ms");
}

void steadyTones(double rate) {
    double drop = 0;
    double bend = 0;
    for (const std::int64_t count : {44, 882, 4'007})
        steadyTone(count, rate, drop, bend);
    const std::string what =
        std::to_string(std::lround(rate * 100)) + " %, a tone in passes of 1, 20 and 91 ms: ";
    printRow(what + "drop of level", atMost(1), drop, "dB");
    printRow(what + "sharpest bend, against the tone's own", atMost(1.3), bend, "times");
}

} // namespace

int main() {
    exactLoops(0, {{44, 1000}, {882, 1000}, {22'050, 1000}});
    exactLoops(0.05, {{882, 1000}, {22'050, 1000}});
    stretchedLoops(0.05, {{44, 1000}, {882, 30}, {4'007, 16}}, {882, 30});
    stretchedLoops(0.3, {{44, 1000}, {882, 200}, {4'007, 30}}, {882, 300});
    stretchedLoops(0.5, {{44, 1000}, {882, 500}, {4'007, 60}}, {882, 500});
    stretchedLoops(1.33, {{44, 1000}, {882, 1000}, {4'007, 100}}, {882, 1000});
    stretchedLoops(2.5, {{44, 1000}, {882, 1000}, {4'007, 100}}, {882, 1000});
    stretchedLoops(3, {{44, 1000}, {882, 1000}, {4'007, 100}}, {882, 1000});
    for (const double rate : {0.05, 0.3, 0.5, 1.0, 1.33, 2.5, 3.0})
        steadyTones(rate);
    return 0;
}
