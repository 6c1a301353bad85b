#include "LoopedTones.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "support/SyntheticFile.h"

namespace ambrel::test {

namespace {

using namespace std::chrono_literals;

constexpr int rateHz = 44'100;
constexpr auto passFrames = static_cast<std::int64_t>(LoopedTones::passSeconds * rateHz);
/// The region lies inside its file, so that there are frames before it to crossfade with.
constexpr std::int64_t startFrame = passFrames;
constexpr Announcement samePass{1, startFrame, passFrames};

float tone(double hz, std::int64_t frame) {
    const double periods = std::fmod(hz * double(frame) / rateHz, 1.0);
    return static_cast<float>(LoopedTones::amplitude * std::sin(2 * std::numbers::pi * periods));
}

std::shared_ptr<AudioFile> tones() {
    return std::make_shared<SyntheticFile>(rateHz, 3 * passFrames, [](std::int64_t frame) {
        const float both = tone(LoopedTones::lowHz, frame) + tone(LoopedTones::highHz, frame);
        return std::pair(both, both / 2);
    });
}

} // namespace

LoopedTones::LoopedTones() : client_([this] { run(); }) {}

LoopedTones::Account LoopedTones::finish() {
    ending_ = true;
    client_.join();
    return std::move(account_);
}

void LoopedTones::run() {
    graph_ = AudioGraph::create(std::make_unique<TappedDevice>(counter_));
    const auto file = tones();
    const auto schedule = [&] {
        graph_->scheduleSegment(file, startFrame, passFrames, nextCompletion(), samePass);
        graph_->play();
    };
    graph_->start();
    schedule();
    while (!ending_) {
        const auto begin = Clock::now();
        look();
        if (*completed_.back() > 0 && !graph_->adopt(samePass.id, nextCompletion())) {
            ++account_.refused;
            --account_.passes;
            completed_.pop_back();
            schedule();
        }
        const std::chrono::duration<double, std::milli> taken = Clock::now() - begin;
        account_.slowestMs = std::max(account_.slowestMs, taken.count());
        std::this_thread::sleep_for(5ms);
    }
    graph_->stop();
    graph_ = nullptr; // no completion comes later
    account_.notOnce = static_cast<int>(
        std::ranges::count_if(completed_, [](const auto& completion) { return *completion != 1; }));
}

void LoopedTones::look() {
    const std::optional<double> frames = graph_->playerTime();
    if (!frames)
        return;
    const double seconds = (account_.passes - 1) * passSeconds + *frames / rateHz;
    const bool isSamePass = lastPass_ == account_.passes;
    account_.backwards += isSamePass && seconds < lastSeconds_ ? 1 : 0;
    lastPass_ = account_.passes;
    lastSeconds_ = seconds;
    const double silenceMs = counter_.silenceMs();
    const double gapMs = counter_.takeLongestGapMs();
    if (account_.sights.empty()) // what was before is the start
        account_.sights.push_back({Clock::now(), seconds});
    else
        account_.sights.push_back({Clock::now(), seconds, silenceMs - silenceMs_, gapMs});
    silenceMs_ = silenceMs;
}

AudioGraph::Completion LoopedTones::nextCompletion() {
    ++account_.passes;
    completed_.push_back(std::make_shared<std::atomic<int>>(0));
    return [times = completed_.back()] { ++*times; };
}

} // namespace ambrel::test
