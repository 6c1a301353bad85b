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

/// Calls the completion of each pass that is watched, once, on a thread of its own: when its last
/// frame has been heard, when it is dropped, or at the end of the watch. The same thread notices
/// that nothing has been playing for a while. What a completion throws is dropped.
///
/// A pass that follows another without being told to is watched from adopt() on. Those that go by
/// before that count as one.
///
/// It is apart from the decode thread, which a slow disk may hold up, and from the render thread,
/// which a completion must not hold up. add(), drop() and setActive() come from the client.
class SegmentWatch {
  public:
    using Completion = std::function<void()>;

    struct Wiring {
        WakeUp& wake; ///< what the thread sleeps on; the stage signals a run's end here
        OutputStage& stage;
        std::function<std::int64_t()> framesHeard;
        std::function<void()> idle; ///< called when nothing has been active for idleAfter
        bool isPaced = false;       ///< by a device: what it reports must not come late
    };

    explicit SegmentWatch(Wiring wiring);
    ~SegmentWatch();

    /// How long nothing plays before the output may rest.
    static constexpr std::chrono::seconds idleAfter{5};

    /// A segment whose runs have epochs from `firstEpoch` on. The one before is dropped.
    void add(std::int64_t firstEpoch, Completion completion);
    void drop();

    /// The pass that began when the watched one had been heard; absent as long as that has not
    /// been, or if the sound ended there.
    std::optional<Pass> following() const;

    /// Watches the newest pass that has begun, instead of the one before, and gives it. Absent if
    /// it was not played for this announcement.
    std::optional<Pass> adopt(std::int64_t announcement, Completion completion);

    /// The number of the pass watched, counted from the segment's first.
    std::int64_t watchedPass() const;

    /// Whether something is to be heard.
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
    // Lists, so that a completion can be handed on where memory has run out.
    std::list<Completion> current_; ///< none or one
    std::int64_t pass_ = 0;         ///< watched
    std::optional<Pass> newest_;    ///< that began behind it
    std::list<Completion> due_;
    std::atomic<bool> active_{false};
    bool idleReported_ = true;
    std::chrono::steady_clock::time_point idleSince_{};
    std::atomic<bool> ending_{false};
    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
