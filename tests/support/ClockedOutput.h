#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/sound/AudioOutput.h"

namespace ambrel::test {

/// A device that asks for frames from a thread of its own, in requests of one size, as often as the
/// test says: in step with the clock, or as fast as it can. Keeps all it was given.
///
/// What is heard lags what was asked for by one request.
class ClockedOutput final : public AudioOutput {
  public:
    ClockedOutput(int sampleRateHz, std::size_t request, double speed)
        : sampleRateHz_(sampleRateHz), request_(request), speed_(speed) {}

    void open(FrameSource& source) override {
        source_ = &source;
        source.prepare(sampleRateHz_, request_);
        thread_ = std::jthread([this](const std::stop_token& end) { run(end); });
    }
    void start() override { running_ = true; }
    void stop() override { running_ = false; }
    std::int64_t framesHeard() const noexcept override { return heard_; }

    /// Another device takes over, at another rate. Returns the frames given to those before it.
    std::int64_t replaceDevice(int sampleRateHz, std::size_t request) {
        const std::scoped_lock lock(mutex_);
        sampleRateHz_ = sampleRateHz;
        request_ = request;
        source_->prepare(sampleRateHz, request);
        return written_;
    }

    /// From now on, unannounced, it asks for so many frames at a time.
    void askFor(std::size_t request) {
        const std::scoped_lock lock(mutex_);
        request_ = request;
    }

    std::int64_t framesWritten() const { return written_; }
    /// The frames given so far, interleaved.
    std::vector<float> frames() const {
        const std::scoped_lock lock(mutex_);
        return frames_;
    }
    /// The last of them, at most `count`.
    std::vector<float> lastFrames(std::size_t count) const {
        const std::scoped_lock lock(mutex_);
        return {frames_.end() - std::ptrdiff_t(std::min(2 * count, frames_.size())), frames_.end()};
    }
    /// One sample of the left channel.
    float leftAt(std::int64_t frame) const { return frames().at(std::size_t(2 * frame)); }

  private:
    void run(const std::stop_token& end) {
        auto next = std::chrono::steady_clock::now();
        while (!end.stop_requested()) {
            {
                const std::scoped_lock lock(mutex_);
                if (running_) {
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
            next = std::max(next, std::chrono::steady_clock::now() - std::chrono::milliseconds(50));
            std::this_thread::sleep_until(next);
        }
    }

    FrameSource* source_ = nullptr;
    mutable std::mutex mutex_; ///< one device at a time; guards what follows
    int sampleRateHz_;
    std::size_t request_;
    std::vector<float> frames_;
    double speed_;
    std::atomic<bool> running_{false};
    std::atomic<std::int64_t> written_{0};
    std::atomic<std::int64_t> heard_{0};
    std::jthread thread_;
};

} // namespace ambrel::test
