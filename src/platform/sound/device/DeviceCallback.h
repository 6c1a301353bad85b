#pragma once

#include "platform/sound/device/SourceAccess.h"
#include "platform/sound/effect/Fade.h"
#include "platform/sound/thread/WakeUp.h"

#include <boost/lockfree/spsc_queue.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace ambrel {

/// Fills the requests of one stream from the source, with silence while the device is not the
/// puller, and records which rendered frame is where in the stream. Frames after silence fade in,
/// because a device may return in the middle of the music.
///
/// fill() and lose() are called on threads of cubeb: they neither lock, allocate, log nor do I/O.
/// The rest is for the sound control thread.
class DeviceCallback {
  public:
    DeviceCallback(std::shared_ptr<SourceAccess> access, int sampleRateHz);

    /// Fills `frames` interleaved stereo frames.
    void fill(float* stereo, std::size_t frames) noexcept;

    /// The device or its server is gone; the stream can only be destroyed.
    void lose() noexcept { lost_ = true; }

    bool isLost() const noexcept { return lost_; }
    /// Lost because it takes frames without any pace: none of them is still on its way.
    bool isPaceless() const noexcept { return paceless_; }
    int sampleRateHz() const noexcept { return sampleRateHz_; }

    /// Requests so far, and the time of the last one or of construction.
    std::uint64_t requests() const noexcept { return requests_; }
    SoundClock::time_point lastRequest() const noexcept { return lastRequest_; }

    struct Heard {
        double frames = 0;        ///< rendered frames that have been heard
        std::int64_t ceiling = 0; ///< the most that can be heard before the next position
    };

    /// What has been heard at stream frame `position`, which must not decrease; absent if that is
    /// silence before the first frame.
    std::optional<Heard> heardAt(std::uint64_t position);

  private:
    /// From `streamFrame` of the stream on, it plays the rendered frames from `renderedFrame` on.
    struct Span {
        std::int64_t streamFrame = 0;
        std::int64_t renderedFrame = 0;
    };

    void measurePace(SoundClock::duration elapsed, std::size_t frames) noexcept;
    void note(std::int64_t renderedFrame) noexcept;

    const std::shared_ptr<SourceAccess> access_;
    const int sampleRateHz_;
    std::atomic<bool> silent_ = true;
    std::atomic<bool> lost_ = false;
    std::atomic<bool> paceless_ = false;
    std::atomic<std::uint64_t> requests_ = 0;
    std::atomic<SoundClock::time_point> lastRequest_ = SoundClock::now();

    // Device callback only.
    double framesAhead_ = 0; ///< taken and not yet played, at most
    std::int64_t written_ = 0;
    std::optional<Span> writing_;
    Fade fade_;
    std::size_t fadeStep_ = 0;

    boost::lockfree::spsc_queue<Span, boost::lockfree::capacity<64>> spans_;

    // Sound control thread only.
    std::optional<Span> hearing_;
};

} // namespace ambrel
