#include "Torture.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>

namespace ambrel::bench {

namespace {

constexpr double amplitude = 0.25;
constexpr double mostGainDb = 6;
/// Periods of the tones.
constexpr std::int64_t shortestPeriod = 147, longestPeriod = 441;
/// Shorter passes than this are nothing but edges.
constexpr std::int64_t shortestSmoothPass = 960;
constexpr std::int64_t shortestPass = 44;

} // namespace

Torture::Torture(std::uint64_t seed, bool trace) : random_(seed), trace_(trace) {
    constexpr std::array rates{44100, 44100, 44100, 48000, 96000};
    deviceHz_ = rates[std::size_t(between(0, rates.size() - 1))];
    auto output = std::make_unique<OfflineOutput>(deviceHz_);
    output_ = output.get();
    graph_ = AudioGraph::create(std::move(output));
    graph_->start();
    for (const int rateHz : {44100, 44100, 48000}) {
        const std::int64_t period = between(shortestPeriod, longestPeriod);
        const std::int64_t length = spread(rateHz / 2, 6 * rateHz) / period * period;
        files_.push_back(
            {test::SyntheticFile::sine(rateHz, length, double(rateHz) / double(period), amplitude),
             period});
    }
    file_ = files_.front();
    checker_ = std::make_unique<ToneChecker>(deviceHz_);
    isSmooth_ = !oneIn(4);
}

Torture::Result Torture::run(std::uint64_t seed, int steps, bool trace) {
    Torture torture(seed, trace);
    for (int i = 0; i < steps; ++i) {
        torture.step();
        torture.pull(std::size_t(torture.spread(1, 8000)));
        torture.result_.digests.push_back(torture.digest_);
    }
    torture.finish();
    return torture.result_;
}

std::int64_t Torture::between(std::int64_t least, std::int64_t most) {
    return least + std::int64_t(random_() % std::uint64_t(most - least + 1));
}

/// Small and large numbers alike.
std::int64_t Torture::spread(std::int64_t least, std::int64_t most) {
    const double where = double(random_() >> 11) / double(1ULL << 53);
    return std::llround(double(least) * std::pow(double(most) / double(least), where));
}

std::optional<Announcement> Torture::region() {
    const std::int64_t length = file_.tone->length();
    const std::int64_t grid = isSmooth_ ? file_.period : 1;
    Announcement region;
    region.frameCount =
        (spread(isSmooth_ ? shortestSmoothPass : shortestPass, length) + grid - 1) / grid * grid;
    region.startFrame = between(0, length - region.frameCount) / grid * grid;
    region.pauseSeconds = oneIn(3) ? double(spread(1, 500)) / 1000 : 0;
    if (oneIn(4))
        region.passes = between(1, 3);
    if (oneIn(5))
        return std::nullopt;
    announced_.push_back(region.frameCount);
    region.id = std::int64_t(announced_.size());
    note("%g + %g, pause %g, %g times", double(region.startFrame), double(region.frameCount),
         region.pauseSeconds, double(region.passes));
    return region;
}

void Torture::step() {
    struct Kind {
        int weight;
        const char* name;
        void (Torture::*act)();
    };
    static constexpr std::array kinds{
        Kind{3, "load", &Torture::load},
        Kind{1, "schedule", &Torture::schedule},
        Kind{2, "play", &Torture::play},
        Kind{1, "pause", &Torture::pause},
        Kind{1, "stop", &Torture::stop},
        Kind{4, "rate", &Torture::changeRate},
        Kind{3, "pitch", &Torture::changePitch},
        Kind{2, "equaliser", &Torture::changeEqualiser},
        Kind{6, "announce", &Torture::announce},
        Kind{3, "adopt", &Torture::adopt},
        Kind{8, "nothing", nullptr},
    };
    int total = 0;
    for (const Kind& kind : kinds)
        total += kind.weight;
    auto drawn = int(between(0, total - 1));
    const auto* kind = kinds.data();
    while (drawn >= kind->weight)
        drawn -= (kind++)->weight;
    if (trace_)
        std::fprintf(stderr, "\n%zu at %lld: %s", result_.digests.size(),
                     static_cast<long long>(result_.frames), kind->name);
    if (kind->act)
        (this->*kind->act)();
}

void Torture::load() {
    stop();
    file_ = files_[std::size_t(between(0, std::int64_t(files_.size()) - 1))];
    schedule();
    play();
}

void Torture::schedule() {
    drop();
    const Announcement pass = region().value_or(Announcement{1, 0, file_.tone->length()});
    const std::optional<Announcement> next = region();
    passes_.push_back({});
    passes_.back().frames = pass.frameCount;
    ++result_.segments;
    graph_->scheduleSegment(
        file_.tone, pass.startFrame, pass.frameCount,
        [count = passes_.back().completions] { ++*count; }, next);
    isScheduled_ = true;
    isPlaying_ = false;
    mayPause_ = next && next->pauseSeconds > 0;
    lastPosition_ = -1;
    checker_->expectFade();
}

void Torture::play() {
    graph_->play();
    if (!isPlaying_)
        checker_->expectFade();
    isPlaying_ = isScheduled_;
}

void Torture::pause() {
    graph_->pause();
    isPlaying_ = false;
    checker_->expectFade();
}

void Torture::stop() {
    graph_->stop();
    drop();
    isScheduled_ = false;
    isPlaying_ = false;
    checker_->expectFade();
}

void Torture::drop() {
    if (isScheduled_)
        passes_.back().isDropped = true;
}

void Torture::changeRate() {
    constexpr std::array usual{0.05, 0.5, 0.75, 1.0, 1.0, 1.0, 1.5, 3.0};
    const double rate =
        oneIn(2) ? usual[std::size_t(between(0, usual.size() - 1))] : double(spread(5, 300)) / 100;
    note("%g", rate);
    graph_->setRate(float(rate));
}

void Torture::changePitch() {
    constexpr std::array usual{-1200.0, 0.0, 0.0, 0.0, 1200.0};
    const double cents =
        oneIn(2) ? usual[std::size_t(between(0, usual.size() - 1))] : double(between(-1200, 1200));
    note("%g", cents);
    graph_->setPitch(float(cents));
}

void Torture::changeEqualiser() {
    if (oneIn(3))
        graph_->setEqualiserBypass(oneIn(2));
    else
        graph_->setEqualiserGain(int(between(0, AudioGraph::bandCount - 1)),
                                 float(between(-60, 60)) / 60 * float(mostGainDb) / 2);
}

/// As a drag does, several times before anything more is heard.
void Torture::announce() {
    for (std::int64_t times = oneIn(3) ? between(2, 6) : 1; times > 0; --times) {
        const std::optional<Announcement> next = region();
        mayPause_ = mayPause_ || (next && next->pauseSeconds > 0);
        graph_->announce(next);
    }
}

void Torture::adopt() {
    const std::optional<std::int64_t> running = graph_->runningOn();
    Pass pass;
    if (!running || !graph_->adopt(*running, [count = pass.completions] { ++*count; }))
        return;
    pass.frames = announced_[std::size_t(*running - 1)];
    passes_.push_back(pass);
    lastPosition_ = -1;
}

void Torture::pull(std::size_t frames) {
    std::vector<float> stereo(2 * frames);
    const std::size_t played = output_->pull(stereo.data(), frames);
    for (const float sample : stereo) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &sample, sizeof(bits));
        digest_ = (digest_ ^ bits) * 1099511628211ULL;
    }
    listen(stereo, played);
    result_.frames += std::int64_t(frames);
    watchPosition();
    if (isPlaying_ && played == 0) {
        isPlaying_ = false;
        awaitCompletion(passes_.back());
    }
}

void Torture::listen(const std::vector<float>& stereo, std::size_t played) {
    ToneChecker::Expectation expected{isPlaying_, false, isSmooth_};
    for (std::size_t i = 0; i < stereo.size() / 2; ++i) {
        expected.isSteady = isPlaying_ && isSmooth_ && !mayPause_ && i < played;
        if (const std::string wrong = checker_->check(stereo[2 * i], expected); !wrong.empty())
            fault(wrong + " at frame " + std::to_string(result_.frames + std::int64_t(i)));
    }
}

void Torture::watchPosition() {
    const std::optional<double> position = graph_->playerTime();
    if (!position || !isScheduled_)
        return;
    const Pass& pass = passes_.back();
    if (*position < lastPosition_ || *position > double(pass.frames))
        fault("the play head at " + std::to_string(*position) + " after " +
              std::to_string(lastPosition_) + " of " + std::to_string(pass.frames));
    if (*pass.completions > 0 && !pass.isDropped && graph_->playerTime() != double(pass.frames))
        fault("completed too early, at " + std::to_string(*position) + " of " +
              std::to_string(pass.frames));
    lastPosition_ = *position;
}

void Torture::awaitCompletion(const Pass& pass) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (*pass.completions == 0) {
        if (std::chrono::steady_clock::now() > until)
            return fault("not completed");
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

void Torture::finish() {
    graph_->stop();
    for (const Pass& pass : passes_)
        awaitCompletion(pass);
    graph_ = nullptr;
    for (const Pass& pass : passes_)
        if (*pass.completions != 1)
            fault("completed " + std::to_string(*pass.completions) + " times");
}

template <class... Numbers> void Torture::note(const char* format, Numbers... numbers) const {
    if (!trace_)
        return;
    std::fputs(", ", stderr);
    std::fprintf(stderr, format, numbers...);
}

/// The first of each step is enough.
void Torture::fault(const std::string& what) {
    const std::string where = "step " + std::to_string(result_.digests.size()) + ": ";
    const bool isKnown = std::ranges::any_of(
        result_.faults, [&](const std::string& known) { return known.starts_with(where); });
    if (!isKnown)
        result_.faults.push_back(where + what);
}

} // namespace ambrel::bench
