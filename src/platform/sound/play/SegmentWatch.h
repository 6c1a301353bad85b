#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/sound/play/OutputStage.h"
#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

/// Calls the completion of the current pass once, on its own thread: when its last frame has been
/// heard, when it is dropped, or when the watch is destroyed. It also reports when nothing has
/// played for a while. Exceptions from completions are ignored. Owned by the graph.
///
/// A pass that has followed an announcement is watched once it is adopted; those that pass
/// unadopted are not reported.
///
/// The thread is neither the decode thread, which a slow disk may delay, nor the render thread,
/// which a completion must not delay. add(), drop(), adopt() and setActive() are for the client.
class SegmentWatch {
  public:
    using Completion = std::function<void()>;

    struct Wiring {
        WakeUp& wake; ///< the thread waits for this; signalled by the stage at boundaries
        OutputStage& stage;
        std::function<std::int64_t()> framesHeard;
        std::function<void()> idle; ///< called after idleAfter without playback
        bool isPaced = false;       ///< driven by a device: run at real-time priority
    };

    explicit SegmentWatch(Wiring wiring);
    ~SegmentWatch();

    /// How long nothing plays before the output is stopped.
    static constexpr std::chrono::seconds idleAfter{5};

    /// Watches a segment, whose epochs start at `firstEpoch`. The previous one is dropped.
    void add(std::int64_t firstEpoch, Completion completion);
    void drop();

    /// The newest pass that has begun since the watched one was heard to its end; absent before
    /// that, and if playback ended there.
    std::optional<Pass> following() const;

    /// Watches that pass from now on, and returns it. Absent if there is none or it was not played
    /// for this announcement.
    std::optional<Pass> adopt(std::int64_t announcement, Completion completion);

    /// Number of the watched pass, counted from the segment's first.
    std::int64_t watchedPass() const;

    /// Whether playback is on (not paused or stopped).
    void setActive(bool active);
    bool isActive() const noexcept { return active_; }

  private:
    void run();
    std::optional<Pass> followingLocked() const;
    bool isEndOnItsWay() const;
    void hearBoundaries();
    Completion takeDue() noexcept;
    void wait();

    Wiring wiring_;
    mutable std::mutex mutex_;
    std::int64_t firstEpoch_ = 0;
    // Lists, because moving an element between them cannot run out of memory.
    std::list<Completion> current_; ///< at most one
    std::int64_t pass_ = 0;         ///< number of the watched pass
    std::optional<Pass> newest_;    ///< newest pass that began after it
    std::list<Completion> due_;
    std::atomic<bool> active_{false};
    bool idleReported_ = true;
    SoundClock::time_point idleSince_;
    std::atomic<bool> ending_{false};
    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
