#pragma once

#include "TappedDevice.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <vector>

namespace ambrel::bench {

constexpr int deviceHz = 48'000; ///< of the sound server's sink, and of every file

/// Everything that a device was given, and when.
class HandOvers final : public test::Tap {
  public:
    void handedOver(const float* stereo, std::size_t frames,
                    SoundClock::time_point asked) noexcept override {
        const std::size_t first = frames_.load(std::memory_order_relaxed);
        const std::size_t request = requestCount_.load(std::memory_order_relaxed);
        if (2 * (first + frames) > samples_.size() || request == requests_.size())
            return;
        std::copy_n(stereo, 2 * frames, samples_.data() + 2 * first);
        requests_[request] = {first, asked, SoundClock::now()};
        requestCount_.store(request + 1, std::memory_order_release);
        frames_.store(first + frames, std::memory_order_release);
    }

    std::size_t frames() const { return frames_.load(std::memory_order_acquire); }
    float left(std::size_t frame) const { return samples_[2 * frame]; }
    float right(std::size_t frame) const { return samples_[2 * frame + 1]; }

    /// When a frame was handed over. A request counts as taking the time that it lasts: what is
    /// late in it is late in the loudspeaker.
    SoundClock::time_point when(std::size_t frame) const {
        const Request& request = requests_[requestOf(frame)];
        return request.given +
               std::chrono::nanoseconds((frame - request.first) * 1'000'000'000 / deviceHz);
    }

    /// Whether the device itself was late to ask, somewhere between two frames: it asks every
    /// 6.25 ms when nothing else holds it up.
    bool wasAskedLate(std::size_t from, std::size_t to) const {
        constexpr auto late = std::chrono::milliseconds(15);
        const std::size_t end = requestOf(to);
        for (std::size_t i = std::max<std::size_t>(1, requestOf(from)); i <= end; ++i)
            if (requests_[i].asked - requests_[i - 1].given > late)
                return true;
        return false;
    }

    std::vector<float> leftOf(std::size_t from, std::size_t to) const {
        std::vector<float> mono;
        for (std::size_t i = from; i < to; ++i)
            mono.push_back(left(i));
        return mono;
    }

  private:
    struct Request {
        std::size_t first = 0;
        SoundClock::time_point asked, given;
    };

    std::size_t requestOf(std::size_t frame) const {
        const auto end = requests_.begin() + std::ptrdiff_t(requestCount_.load());
        const auto after = std::upper_bound(
            requests_.begin(), end, frame,
            [](std::size_t wanted, const Request& request) { return wanted < request.first; });
        return std::size_t(after - requests_.begin()) - 1;
    }

    static constexpr std::size_t mostSeconds = 300;
    std::vector<float> samples_ = std::vector<float>(2 * mostSeconds * deviceHz);
    std::vector<Request> requests_ = std::vector<Request>(mostSeconds * 1000);
    std::atomic<std::size_t> frames_ = 0;
    std::atomic<std::size_t> requestCount_ = 0;
};

} // namespace ambrel::bench
