#pragma once

#include "TappedDevice.h"
#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioGraph.h"
#include "support/PrivateSoundServer.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace ambrel::bench {

constexpr int deviceHz = 48'000; ///< of the sound server's sink, and of every file

/// Everything that a device was given, and when.
class HandOvers final : public Tap {
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

struct Setting {
    const char* name;
    float rate;
    float cents;
};

constexpr std::array settings = {Setting{"100 %", 1, 0}, Setting{"50 %", 0.5, 0},
                                 Setting{"300 %, -1200 cents", 3, -1200}};

/// How long after a call its effect was handed over.
struct Reaction {
    double ms = 0;
    bool askedLate = false; ///< the device held it up, which tells nothing of the graph
};

/// The slowest of some, without those that the device held up.
class Slowest {
  public:
    void note(const Reaction& reaction) {
        if (reaction.askedLate)
            return;
        ms_ = std::max(ms_, reaction.ms);
        ++count_;
    }
    double ms() const { return count_ > 0 ? ms_ : INFINITY; }
    int count() const { return count_; }

  private:
    double ms_ = 0;
    int count_ = 0;
};

/// A graph on the default device, and how long after a call its effect is handed over.
class TimedGraph {
  public:
    void set(const Setting& setting) {
        graph.setRate(setting.rate);
        graph.setPitch(setting.cents);
    }

    void play(const std::shared_ptr<AudioFile>& file, std::int64_t startFrame) {
        graph.scheduleSegment(file, startFrame, file->length() - startFrame, [] {});
        graph.play();
    }

    void call(const std::function<void()>& command) {
        before = handOvers.frames();
        called_ = SoundClock::now();
        command();
    }

    /// From the call to a frame, in milliseconds.
    double msTo(std::size_t frame) const {
        using Milliseconds = std::chrono::duration<double, std::milli>;
        return Milliseconds(handOvers.when(frame) - called_).count();
    }

    /// From the call to a sound on that side; infinity if there is none.
    Reaction toSound(float (HandOvers::*side)(std::size_t) const) const {
        constexpr float audible = 0.01F;
        std::size_t next = before;
        for (int waited = 0; waited < 3000; ++waited) {
            for (; next < handOvers.frames(); ++next)
                if (std::abs((handOvers.*side)(next)) >= audible)
                    return reactionAt(next);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return {INFINITY, false};
    }

    /// From the call to the last frame that is not silent.
    Reaction toSilence() const {
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        std::size_t last = handOvers.frames() - 1;
        while (last > before && handOvers.left(last) == 0 && handOvers.right(last) == 0)
            --last;
        return reactionAt(last);
    }

    Reaction reactionAt(std::size_t frame) const {
        return {std::max(0.0, msTo(frame)), handOvers.wasAskedLate(before, frame)};
    }

    HandOvers handOvers;
    AudioGraph graph{std::make_unique<TappedDevice>(handOvers)};
    std::size_t before = 0; ///< frames handed over before the call

  private:
    SoundClock::time_point called_;
};

/// Measures with a sound server of its own.
inline int onPrivateServer(int argc, char** argv, const std::function<void(TimedGraph&)>& measure) {
    const QCoreApplication application(argc, argv);
    PrivateSoundServer server;
    server.start(deviceHz);
    TimedGraph timed;
    timed.graph.start();
    // The device opens before a user gets to play.
    std::this_thread::sleep_for(std::chrono::seconds(2));
    measure(timed);
    return 0;
}

} // namespace ambrel::bench
