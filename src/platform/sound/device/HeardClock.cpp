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
    const std::lock_guard lock(writing_);
    publish({when, frames, framesPerSecond, ceiling});
}

void HeardClock::follow(SoundClock::time_point when, double frames, double framesPerSecond,
                        std::int64_t ceiling) {
    const std::lock_guard lock(writing_);
    const double expected = line_.at(when);
    const bool jitter = line_.framesPerSecond == framesPerSecond &&
                        std::abs(frames - expected) < largestJitterSeconds * framesPerSecond;
    const double followed = jitter ? expected + followedPart * (frames - expected) : frames;
    publish({when, followed, framesPerSecond, ceiling});
}

void HeardClock::rest(std::int64_t frames) {
    const std::lock_guard lock(writing_);
    publish({SoundClock::now(), static_cast<double>(frames), 0.0, noCeiling});
}

std::int64_t HeardClock::heard(std::int64_t rendered) const noexcept {
    std::int64_t largest = largestReturned_.load(std::memory_order_acquire);
    Line line;
    if (!read(line)) {
        return largest;
    }
    const auto reached = static_cast<std::int64_t>(line.at(SoundClock::now()));
    const std::int64_t now = std::min({reached, line.ceiling, rendered});
    while (now > largest) {
        if (largestReturned_.compare_exchange_weak(largest, now, std::memory_order_acq_rel)) {
            return now;
        }
    }
    return largest;
}

// Every field is stored with release and loaded with acquire: a reader that sees a field of a newer
// line also sees that the version has changed.
void HeardClock::publish(const Line& line) {
    line_ = line;
    const std::uint32_t version = version_.load(std::memory_order_relaxed);
    version_.store(version + 1, std::memory_order_relaxed);
    when_.store(line.when.time_since_epoch().count(), std::memory_order_release);
    frames_.store(line.frames, std::memory_order_release);
    framesPerSecond_.store(line.framesPerSecond, std::memory_order_release);
    ceiling_.store(line.ceiling, std::memory_order_release);
    version_.store(version + 2, std::memory_order_release);
}

bool HeardClock::read(Line& line) const noexcept {
    for (int attempt = 0; attempt < readAttempts; ++attempt) {
        const std::uint32_t before = version_.load(std::memory_order_acquire);
        line.when =
            SoundClock::time_point(SoundClock::duration(when_.load(std::memory_order_acquire)));
        line.frames = frames_.load(std::memory_order_acquire);
        line.framesPerSecond = framesPerSecond_.load(std::memory_order_acquire);
        line.ceiling = ceiling_.load(std::memory_order_acquire);
        if (before % 2 == 0 && version_.load(std::memory_order_acquire) == before) {
            return true;
        }
    }
    return false;
}

} // namespace ambrel
