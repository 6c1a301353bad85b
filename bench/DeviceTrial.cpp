#include "DeviceTrial.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ambrel::test {

namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

/// The play head's pace is looked at over so long, or half a part of it.
constexpr double paceSeconds = 2;

/// After this time without its sound a device counts as mute.
constexpr double patienceSeconds = 20;

/// After a change the play head and the sound have so long to settle.
constexpr auto settling = 500ms;

constexpr double never = std::numeric_limits<double>::infinity();

double secondsBetween(LoopedTones::Clock::time_point from, LoopedTones::Clock::time_point to) {
    return Seconds(to - from).count();
}

void append(Recording& recording, const std::vector<float>& samples, int channels) {
    for (std::size_t at = 0; at < samples.size(); at += std::size_t(channels)) {
        recording.left.push_back(samples[at]);
        if (channels > 1)
            recording.right.push_back(samples[at + 1]);
    }
}

double middle(std::vector<double> values) {
    if (values.empty())
        return never;
    const auto half = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::ranges::nth_element(values, half);
    return *half;
}

} // namespace

void DeviceTrial::play() {
    tones_.emplace();
}

void DeviceTrial::playToNobody() {
    QTest::qWait(int(1000 * partSeconds_));
}

void DeviceTrial::playTo(const SinkShape& shape) {
    server_.start(shape);
    play();
    bring([](PrivateSoundServer&) {}, QStringLiteral("one"), shape);
}

void DeviceTrial::lose(const Deed& deed) {
    const auto begin = Clock::now();
    deed(server_);
    disturbances_.push_back({begin, Clock::now() + settling});
    QTest::qWait(int(500 * partSeconds_));
}

void DeviceTrial::bring(const Deed& deed, const QString& sink, const SinkShape& shape) {
    const auto begin = Clock::now();
    deed(server_);
    const auto there = Clock::now();
    SinkRecorder recorder(sink, shape);
    Listening listening;
    listening.recording.sampleRateHz = shape.sampleRateHz;
    const double muteSeconds = awaitSound(listening, recorder, shape.channels, there);
    slowestReturnSeconds_ = std::max(slowestReturnSeconds_, muteSeconds);
    const auto settled = Clock::now() + settling;
    disturbances_.push_back({begin, settled});
    while (secondsBetween(settled, Clock::now()) < partSeconds_) {
        QTest::qWait(5);
        append(listening.recording, recorder.available(), shape.channels);
        listening.marks.push_back({Clock::now(), listening.recording.left.size()});
    }
    listenings_.push_back(std::move(listening));
}

double DeviceTrial::awaitSound(Listening& listening, SinkRecorder& recorder, int channels,
                               Clock::time_point there) const {
    const Recording& recording = listening.recording;
    const HeardTones heard(recording);
    std::size_t& at = listening.soundFrom;
    while (secondsBetween(there, Clock::now()) < patienceSeconds) {
        append(listening.recording, recorder.available(), channels);
        for (; at + heard.windowFrames() <= recording.left.size(); at += heard.hopFrames())
            if (heard.isSounding(at)) {
                const double ago = double(recording.left.size() - at) / recording.sampleRateHz;
                return std::max(0.0, secondsBetween(there, Clock::now()) - ago);
            }
        QTest::qWait(5);
    }
    return never;
}

bool DeviceTrial::isDisturbed(Clock::time_point begin, Clock::time_point end) const {
    return std::ranges::any_of(disturbances_, [&](const Interval& disturbance) {
        return begin < disturbance.end && disturbance.begin < end;
    });
}

/// How far the play head was from where the clock says, over any span without a disturbance.
double DeviceTrial::worstPaceMs() const {
    const double span = std::min(paceSeconds, partSeconds_ / 2);
    std::optional<double> worst;
    std::size_t last = 0;
    for (const LoopedTones::Sight& first : account_.sights) {
        while (last < account_.sights.size() &&
               secondsBetween(first.when, account_.sights[last].when) < span)
            ++last;
        if (last == account_.sights.size())
            break;
        const LoopedTones::Sight& then = account_.sights[last];
        if (isDisturbed(first.when, then.when))
            continue;
        const double off = then.seconds - first.seconds - secondsBetween(first.when, then.when);
        worst = std::max(worst.value_or(0), 1000 * std::abs(off));
    }
    return worst.value_or(never);
}

/// By how much less than the clock the play head has moved in all, for each disturbance.
double DeviceTrial::lostSeconds() const {
    if (account_.sights.empty())
        return never;
    const LoopedTones::Sight& first = account_.sights.front();
    const LoopedTones::Sight& last = account_.sights.back();
    const double lost = secondsBetween(first.when, last.when) - (last.seconds - first.seconds);
    return std::abs(lost) / double(std::max<std::size_t>(1, disturbances_.size()));
}

/// The silence that the device was given there, and its longest time without a request.
LoopedTones::Sight DeviceTrial::gapsBetweenChanges() const {
    LoopedTones::Sight all;
    for (const LoopedTones::Sight& sight : account_.sights)
        if (!isDisturbed(sight.when - 100ms, sight.when)) {
            all.silenceMs += sight.silenceMs;
            all.gapMs = std::max(all.gapMs, sight.gapMs);
        }
    return all;
}

/// How far apart the play head was from what the sink played at that moment.
double DeviceTrial::worstPlayHeadMs() const {
    double worst = 0;
    for (const Listening& listening : listenings_) {
        const HeardTones heard(listening.recording);
        std::vector<double> apart;
        for (std::size_t i = listening.marks.size() / 4; i < listening.marks.size(); i += 20) {
            const Mark& mark = listening.marks[i];
            const auto sight =
                std::ranges::upper_bound(account_.sights, mark.when, {}, &LoopedTones::Sight::when);
            if (sight == account_.sights.begin() || mark.frames < heard.windowFrames())
                continue;
            const double shown =
                (sight - 1)->seconds + secondsBetween((sight - 1)->when, mark.when);
            const double played = heard.at(mark.frames - heard.windowFrames()).placeSeconds + 0.02;
            apart.push_back(1000 * std::abs(std::remainder(shown - played, 1.0)));
        }
        worst = std::max(worst, middle(std::move(apart)));
    }
    return worst;
}

std::vector<Measure> DeviceTrial::finish() {
    account_ = tones_->finish();
    HeardTones::Findings worst;
    for (const Listening& listening : listenings_) {
        const auto settled = std::size_t(listening.recording.sampleRateHz) / 10;
        const auto found = HeardTones(listening.recording).examine(listening.soundFrom + settled);
        worst.cents = std::max(worst.cents, found.cents);
        worst.levelDb = std::max(worst.levelDb, found.levelDb);
        worst.slipSeconds = std::max(worst.slipSeconds, found.slipSeconds);
        worst.glitches += found.glitches;
    }
    const LoopedTones::Sight gaps = gapsBetweenChanges();
    return {
        {"play head off the clock", "ms", worstPaceMs(), 100.0},
        {"play head going back", "", double(account_.backwards), 0},
        {"play head lost at a change", "s", lostSeconds(), 1.0},
        {"play head beside the sound", "ms", worstPlayHeadMs(), 60.0},
        {"completions not called once", "", double(account_.notOnce), 0},
        {"passes not gone on with", "", double(account_.refused), 0},
        {"longest call", "ms", account_.slowestMs, 100.0},
        {"sound back after", "s", slowestReturnSeconds_, 3.0},
        {"off the pitch", "cents", worst.cents, 1},
        {"off the level", "dB", worst.levelDb, 1},
        {"silence given to the device", "ms", gaps.silenceMs, 0.0},
        // After so long the clock would stand in.
        {"device asked for nothing for", "ms", gaps.gapMs, 100.0},
        {"clicks and gaps", "", double(worst.glitches), 0.0},
        {"left out or heard twice", "ms", 1000 * worst.slipSeconds, 2.0},
    };
}

} // namespace ambrel::test
