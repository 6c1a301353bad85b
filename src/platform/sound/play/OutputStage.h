#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/effect/Fade.h"
#include "platform/sound/play/PlayGate.h"
#include "platform/sound/play/PlayheadLog.h"
#include "platform/sound/play/RenderRing.h"
#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

/// The device callback's half of the graph: takes finished frames out of the ring, fades at a
/// start, a pause and a stop, and writes down what it handed over.
///
/// render() does not lock, allocate or wait. attach() is called between two renders.
class OutputStage {
  public:
    /// What is written down about the segment handed over last.
    struct Progress {
        std::int64_t epoch = 0;
        bool ended = false; ///< its last frame was handed over
    };

    /// How far that is.
    struct Place {
        Pass pass;               ///< being handed over, or the next where one has ended
        double fileFrame = 0;    ///< counted from the pass's first
        double pauseSeconds = 0; ///< of silence that is left before it
    };

    /// The end of a pass that another follows.
    struct Boundary {
        std::int64_t epoch = 0;
        std::int64_t outputFrame = 0; ///< handed over before it
        Pass next;
    };

    /// `roomMade` is signalled when frames were taken, `segmentEnded` when a run's last was.
    OutputStage(const PlayGate& gate, WakeUp& roomMade, WakeUp& segmentEnded);

    /// Frames come out of `ring` from now on. What was being heard ends here. A run begins once
    /// `framesToBegin` frames of it are there, or a whole request if that is less.
    void attach(RenderRing& ring, int sampleRateHz, std::size_t framesToBegin);

    void render(float* stereo, std::size_t frames) noexcept;

    const PlayheadLog& log() const noexcept { return log_; }

    /// Any thread.
    Progress progress() const noexcept;

    /// While no render() runs.
    const Place& place() const noexcept { return place_; }

    /// The oldest boundary handed over that was not dropped; nullptr with none. One thread.
    const Boundary* oldestBoundary() noexcept;
    void dropBoundary() noexcept { boundaries_.pop(); }

    /// Frames handed over when the segment ended that progress() tells of. Any thread.
    std::int64_t endFrame() const noexcept { return endFrame_.load(std::memory_order_relaxed); }

    /// Frames of silence handed over in the middle of a run because none were ready. Any thread.
    std::int64_t framesMissed() const noexcept { return missed_.load(std::memory_order_relaxed); }

  private:
    bool mayBegin(PlayGate::State gate, std::size_t frames) noexcept;
    std::size_t takeFromBlock(float* stereo, std::size_t frames, bool out) noexcept;
    void finishBlock() noexcept;
    std::size_t decay(float* stereo, std::size_t frames) noexcept;
    void applyFade(float* stereo, std::size_t frames, bool out) noexcept;
    void note(double from, double to, std::size_t frames, std::int64_t at) noexcept;

    const PlayGate& gate_;
    WakeUp& roomMade_;
    WakeUp& segmentEnded_;
    RenderRing* ring_ = nullptr;
    std::size_t framesToBegin_ = 0;
    int sampleRateHz_ = 0;
    std::optional<Fade> fade_;
    PlayheadLog log_;

    // The device thread's.
    std::size_t fadeStep_ = 0;    ///< 0: silent; fade frames: full
    std::int64_t heardEpoch_ = 0; ///< while fadeStep_ > 0: whose frames are heard
    bool decaying_ = false;       ///< on the way to silence for want of frames
    float lastLeft_ = 0, lastRight_ = 0;
    std::int64_t written_ = 0; ///< frames handed over since the output was opened
    PlayheadLog::Entry entry_; ///< being gathered during one render()
    Place place_;

    std::atomic<std::int64_t> progressEpoch_{0};
    std::atomic<std::int64_t> endedEpoch_{0};
    std::atomic<std::int64_t> endFrame_{0};
    std::atomic<std::int64_t> missed_{0};
    /// A boundary that finds no room is left out: another is near.
    boost::lockfree::spsc_queue<Boundary, boost::lockfree::capacity<512>> boundaries_;
};

} // namespace ambrel
