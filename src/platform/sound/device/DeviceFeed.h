#pragma once

#include "platform/sound/device/CubebStream.h"
#include "platform/sound/device/DeviceLink.h"
#include "platform/sound/effect/Fade.h"

#include <boost/lockfree/spsc_queue.hpp>

#include <atomic>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Fills the requests of one stream from the gate, with silence while playback is stopped or the
/// stand-in clock has the turn, and records which rendered frame is where in the stream. Frames
/// after silence fade in, because a device may return in the middle of the music. Owned by
/// DeviceKeeper.
///
/// fill() and lost() are called on threads of cubeb; the rest is for the sound control thread.
class DeviceFeed : public CubebStream::Client {
  public:
    DeviceFeed(DeviceLink& link, int sampleRateHz);

    void fill(float* stereo, std::size_t frames) noexcept override;
    void lost() noexcept override;

    bool isLost() const noexcept { return lost_; }

    struct Heard {
        double frames = 0;        ///< rendered frames that have been heard
        std::int64_t ceiling = 0; ///< the most that can be heard before the next position
    };

    /// What has been heard at stream frame `position`, which must not decrease; absent if that is
    /// silence before the first frame.
    std::optional<Heard> heardAt(std::uint64_t position);

    /// The largest request so far, in frames. Any thread.
    std::size_t largestRequest() const noexcept { return largestRequest_; }

  private:
    /// From `streamFrame` of the stream on, it plays the rendered frames from `renderedFrame` on.
    struct Span {
        std::int64_t streamFrame = 0;
        std::int64_t renderedFrame = 0;
    };

    void note(std::int64_t renderedFrame) noexcept;
    void fadeIn(float* stereo, std::size_t frames) noexcept;

    DeviceLink& link_;
    const int sampleRateHz_;
    std::atomic<std::size_t> largestRequest_ = 0;
    std::atomic<bool> silent_ = true;
    std::atomic<bool> lost_ = false;

    // Device callback only.
    std::int64_t written_ = 0;
    std::optional<Span> writing_;
    Fade fade_;
    std::size_t fadeStep_ = 0;

    boost::lockfree::spsc_queue<Span, boost::lockfree::capacity<64>> spans_;

    // Sound control thread only.
    std::optional<Span> hearing_;
};

} // namespace ambrel
