#pragma once

#include "platform/sound/device/Doorbell.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <mutex>

namespace ambrel {

/// How many frames have been heard, at any moment: a line through the last known point.
///
/// A device tells its position now and then; between two tellings the line is followed by the
/// clock, so that what heard() returns moves evenly. Reading is wait-free, from any thread.
class HeardClock {
  public:
    static constexpr std::int64_t noCeiling = std::numeric_limits<std::int64_t>::max();

    /// From `when` on: `frames`, growing by `framesPerSecond`, up to `ceiling`.
    void run(SoundClock::time_point when, double frames, double framesPerSecond,
             std::int64_t ceiling = noCeiling);

    /// As run(), from a position that is not exact: small differences from the line so far are
    /// taken over bit by bit, larger ones (a stall, another device) at once.
    void follow(SoundClock::time_point when, double frames, double framesPerSecond,
                std::int64_t ceiling);

    /// `frames`, and no more until told otherwise.
    void rest(std::int64_t frames);

    /// Frames heard by now: at most `rendered`, and never less than returned before.
    std::int64_t heard(std::int64_t rendered) const noexcept;

  private:
    struct Line {
        SoundClock::time_point when;
        double frames = 0;
        double framesPerSecond = 0;
        std::int64_t ceiling = noCeiling;

        double at(SoundClock::time_point now) const noexcept;
    };

    void publish(const Line& line);
    bool read(Line& line) const noexcept;

    std::mutex writing_;
    Line line_; ///< as last published; under writing_

    // The published line, readable while it is written: the version is odd meanwhile.
    std::atomic<std::uint32_t> version_ = 0;
    std::atomic<SoundClock::rep> when_ = 0;
    std::atomic<double> frames_ = 0;
    std::atomic<double> framesPerSecond_ = 0;
    std::atomic<std::int64_t> ceiling_ = noCeiling;

    mutable std::atomic<std::int64_t> largestReturned_ = 0;
};

} // namespace ambrel
