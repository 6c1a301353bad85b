#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/effect/Fade.h"
#include "platform/sound/play/PlayheadLog.h"
#include "platform/sound/play/RenderRing.h"
#include "platform/sound/play/TransportState.h"
#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

/// The part of the graph that runs in the device callback: takes rendered frames from the ring,
/// fades at a start, pause() and stop(), and logs what it handed over. Owned by the graph.
///
/// render() neither locks, allocates nor waits. attach() must not run during a render().
class OutputStage {
  public:
    /// How far the newest segment has been handed over.
    struct Progress {
        std::int64_t epoch = 0;
        bool ended = false; ///< its last frame has been handed over
    };

    /// A boundary that has been handed over.
    struct Boundary {
        std::int64_t epoch = 0;
        std::int64_t outputFrame = 0; ///< frames handed over before it
        Pass next;
    };

    /// `roomMade` is signalled when frames have been taken or more are wanted, `segmentEnded` at
    /// each boundary and at the end of the segment.
    OutputStage(const TransportState& transport, WakeUp& roomMade, WakeUp& segmentEnded);

    /// Takes frames from `ring` from now on; what was playing is cut off. A segment begins once a
    /// whole request of it is ready.
    void attach(RenderRing& ring, int sampleRateHz);

    void render(float* stereo, std::size_t frames) noexcept;

    const PlayheadLog& log() const noexcept { return log_; }

    /// Any thread.
    Progress progress() const noexcept;

    /// Where the segment continues at another device rate: in the current pass, or the next if one
    /// has just ended, with what is left of the pause before it. Must not be called during a
    /// render().
    const Place& place() const noexcept { return place_; }

    /// The oldest boundary not yet dropped; nullptr if there is none. Watch thread only.
    const Boundary* oldestBoundary() noexcept;
    void dropBoundary() noexcept { boundaries_.pop(); }

    /// Frames handed over up to the end of the segment, once progress() says that it has ended. Any
    /// thread.
    std::int64_t endFrame() const noexcept { return endFrame_.load(std::memory_order_relaxed); }

    /// Frames missed in the middle of a segment because none were ready. Any thread.
    std::int64_t framesMissed() const noexcept { return missed_.load(std::memory_order_relaxed); }

  private:
    bool mayBegin(TransportState::Value transport, std::size_t frames) noexcept;
    std::size_t takeFromBlock(float* stereo, std::size_t frames, bool out) noexcept;
    void finishBlock() noexcept;
    std::size_t decay(float* stereo, std::size_t frames) noexcept;
    void note(double from, double to, std::size_t frames, std::int64_t at) noexcept;

    const TransportState& transport_;
    WakeUp& roomMade_;
    WakeUp& segmentEnded_;
    RenderRing* ring_ = nullptr;
    int sampleRateHz_ = 0;
    std::optional<Fade> fade_;
    PlayheadLog log_;

    // Used by the device callback only.
    std::size_t fadeStep_ = 0;    ///< 0: silent; fade frames: full
    std::int64_t heardEpoch_ = 0; ///< while fadeStep_ > 0: the epoch being heard
    bool decaying_ = false;       ///< fading the last sample to silence: frames are missing
    float lastLeft_ = 0, lastRight_ = 0;
    std::int64_t written_ = 0; ///< frames handed over since the output was opened
    PlayheadLog::Entry entry_; ///< collected during one render()
    Place place_;

    std::atomic<std::int64_t> progressEpoch_{0};
    std::atomic<std::int64_t> endedEpoch_{0};
    std::atomic<std::int64_t> endFrame_{0};
    std::atomic<std::int64_t> missed_{0};
    /// When full, a boundary is skipped: the next is near.
    boost::lockfree::spsc_queue<Boundary, boost::lockfree::capacity<512>> boundaries_;
};

} // namespace ambrel
