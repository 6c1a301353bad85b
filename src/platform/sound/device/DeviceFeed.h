#pragma once

#include "platform/sound/device/CubebStream.h"
#include "platform/sound/device/DeviceLink.h"
#include "platform/sound/effect/Fade.h"

#include <boost/lockfree/spsc_queue.hpp>

#include <atomic>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Feeds one stream from the gate, with silence while no frames are wanted or it has not the turn,
/// and knows which rendered frame lies where in the stream. After silence the frames come in with a
/// short fade: a device that returns does so in the middle of the music.
class DeviceFeed : public CubebStream::Client {
  public:
    DeviceFeed(DeviceLink& link, int sampleRateHz);

    void fill(float* stereo, std::size_t frames) noexcept override;
    void lost() noexcept override;

    bool isLost() const noexcept { return lost_; }

    struct Heard {
        double frames = 0;        ///< rendered frames heard
        std::int64_t ceiling = 0; ///< no more are heard before the stream's position is told again
    };

    /// What has been heard when the stream is at `position`; absent when that is silence from
    /// before the first frame. Sound control thread; positions must not go back.
    std::optional<Heard> heardAt(std::uint64_t position);

    /// The largest request so far, in frames.
    std::size_t largestRequest() const noexcept { return largestRequest_; }

  private:
    /// From `streamFrame` on, the stream's frames are the rendered ones from `renderedFrame` on.
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
