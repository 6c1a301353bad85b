#include "support/ClockedOutput.h"

#include <algorithm>
#include <chrono>

namespace ambrel::test {

namespace {
constexpr std::chrono::milliseconds longestLag{50};
constexpr int reservedSeconds = 30; ///< so that a test may run out of memory
} // namespace

ClockedOutput::ClockedOutput(int sampleRateHz, std::size_t request, double speed)
    : sampleRateHz_(sampleRateHz), request_(request), speed_(speed) {}

ClockedOutput::~ClockedOutput() {
    ending_ = true;
    if (thread_.joinable())
        thread_.join();
}

void ClockedOutput::open(FrameSource& source) {
    source_ = &source;
    frames_.reserve(std::size_t(2 * reservedSeconds) * std::size_t(sampleRateHz_));
    thread_ = std::thread([this] {
        prepare();
        opened_ = true;
        opened_.notify_one();
        run();
    });
    opened_.wait(false);
}

void ClockedOutput::prepare() noexcept {
    try {
        source_->prepare(sampleRateHz_, request_);
        isPrepared_ = true;
    } catch (...) { // no memory: tries again with the next request
    }
}

std::int64_t ClockedOutput::replaceDevice(int sampleRateHz, std::size_t request) {
    const std::scoped_lock lock(mutex_);
    sampleRateHz_ = sampleRateHz;
    request_ = request;
    source_->prepare(sampleRateHz, request);
    return written_;
}

std::vector<float> ClockedOutput::frames() const {
    const std::scoped_lock lock(mutex_);
    return frames_;
}

std::vector<float> ClockedOutput::lastFrames(std::size_t count) const {
    const std::scoped_lock lock(mutex_);
    return {frames_.end() - std::ptrdiff_t(std::min(2 * count, frames_.size())), frames_.end()};
}

float ClockedOutput::leftAt(std::int64_t frame) const {
    const std::scoped_lock lock(mutex_);
    return frames_.at(std::size_t(2 * frame));
}

void ClockedOutput::run() {
    auto next = std::chrono::steady_clock::now();
    while (!ending_) {
        {
            const std::scoped_lock lock(mutex_);
            if (!isPrepared_)
                prepare();
            if (running_ && isPrepared_) {
                const std::size_t before = frames_.size();
                frames_.resize(before + 2 * request_);
                source_->render(frames_.data() + before, request_);
                heard_ = written_.load();
                written_ += static_cast<std::int64_t>(request_);
            }
            next += std::chrono::nanoseconds(
                static_cast<std::int64_t>(1e9 * double(request_) / sampleRateHz_ / speed_));
        }
        // What a device could not ask for in time it asks for no more.
        next = std::max(next, std::chrono::steady_clock::now() - longestLag);
        std::this_thread::sleep_until(next);
    }
}

} // namespace ambrel::test
