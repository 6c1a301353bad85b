#include "platform/sound/device/HeardClock.h"

#include <algorithm>
#include <cmath>

namespace ambrel {

namespace {

/// Larger differences are not jitter of the reported position.
constexpr double largestJitterSeconds = 0.010;

/// The fraction of a small difference that is corrected at a time.
constexpr double followedPart = 0.2;

/// Writing takes well under a microsecond, 20 to 100 times a second, so even a second failed
/// attempt is unlikely.
constexpr int readAttempts = 4;

} // namespace

double HeardClock::Line::at(SoundClock::time_point now) const noexcept {
    const double elapsedSeconds = std::chrono::duration<double>(now - when).count();
    return frames + framesPerSecond * std::max(elapsedSeconds, 0.0);
}

void HeardClock::run(SoundClock::time_point when, double frames, double framesPerSecond,
                     std::int64_t ceiling) {
    line_.write({when, frames, framesPerSecond, ceiling});
}

void HeardClock::follow(SoundClock::time_point when, double frames, double framesPerSecond,
                        std::int64_t ceiling) {
    const Line before = line_.read().value_or(Line{}); // its only writer always gets it
    const double expected = before.at(when);
    const bool jitter = before.framesPerSecond == framesPerSecond &&
                        std::abs(frames - expected) < largestJitterSeconds * framesPerSecond;
    const double followed = jitter ? expected + followedPart * (frames - expected) : frames;
    line_.write({when, followed, framesPerSecond, ceiling});
}

void HeardClock::rest(std::int64_t frames) {
    line_.write({SoundClock::now(), static_cast<double>(frames), 0.0, noCeiling});
}

std::int64_t HeardClock::heard(std::int64_t rendered) const noexcept {
    std::int64_t largest = largestReturned_.load(std::memory_order_acquire);
    std::optional<Line> line;
    for (int attempt = 0; attempt < readAttempts && !line; ++attempt) {
        line = line_.read();
    }
    if (!line) {
        return largest;
    }
    const auto reached = static_cast<std::int64_t>(line->at(SoundClock::now()));
    const std::int64_t now = std::min({reached, line->ceiling, rendered});
    while (now > largest) {
        if (largestReturned_.compare_exchange_weak(largest, now, std::memory_order_acq_rel)) {
            return now;
        }
    }
    return largest;
}

} // namespace ambrel
