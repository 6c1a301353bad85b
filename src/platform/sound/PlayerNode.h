#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/sound/PlayPlan.h"
#include "platform/sound/PlayerRing.h"
#include "platform/sound/RunReader.h"
#include "platform/sound/WakeUp.h"

namespace ambrel {

class AudioFile;

/// Decodes what is to be played on a thread of its own, about a second ahead of the render thread:
/// a pass, and whatever was announced to follow it. When something else is announced, what was
/// read ahead of it is replaced, as long as the render thread has not come that far.
///
/// Should memory run out on the way, the segment ends with what was read of it.
///
/// Commands come from any thread and never wait for the decoder: they leave their wish in a slot,
/// the decode thread looks there after each block.
class PlayerNode {
  public:
    /// What to decode: the passes of `file` from the run's frame 0 on.
    struct Segment {
        std::int64_t epoch = 0;
        std::shared_ptr<AudioFile> file; ///< none: nothing to decode
        Passes first;                    ///< begins before 0 where a part of it was heard before
        int outputRateHz = 0;
    };

    /// `framesReady` is signalled whenever frames were added. `paced`: a device plays them, so that
    /// the decode thread rests most of the time and may go before other programs.
    PlayerNode(WakeUp& framesReady, bool paced);
    ~PlayerNode();

    /// Decodes this, followed by `next`, instead of what was being decoded. Any thread.
    void play(Segment segment, const std::optional<Continuation>& next);

    /// From the next pass's end on that is not too near, `next` follows. Any thread. Not paced, it
    /// waits until that is so: how many announcements are heeded must not depend on who is faster.
    void follow(const std::optional<Continuation>& next);

    /// What has been decoded; the render thread reads it.
    PlayerRing& ring() noexcept { return ring_; }

    /// Whether every command has been heeded, and `frames` frames are there, or all that are left.
    /// If not, they will be. The render thread's.
    bool hasAhead(std::size_t frames) noexcept;

  private:
    struct Wish {
        Segment segment;
        std::optional<Continuation> next;
    };
    struct Branch;

    void decode();
    void step();
    void breakOff() noexcept;
    void takeWish();
    void tellHeeded() noexcept;
    void beginSegment(Segment segment, const std::optional<Continuation>& next);
    void beginRun(const PlayPlan::Run& run);
    void setPlace();
    void announce(const std::optional<Continuation>& next);
    std::optional<PlayPlan::Boundary> nextBoundary(std::int64_t lead);
    Branch prepareBranch(PlayPlan::Boundary boundary, const std::optional<Continuation>& next);
    bool isAccepted(const BranchPoint& point);
    void takeBranch(Branch branch);
    bool readOn();
    void readChunk();
    bool pushBlock();
    bool isSuperseded() const;

    WakeUp& framesReady_;
    bool paced_;
    WakeUp wake_;
    PlayerRing ring_;
    std::atomic<bool> ending_{false};
    std::atomic<std::int64_t> wished_{0};  ///< number of the newest wish
    std::atomic<std::int64_t> heeded_{0};  ///< number of the newest that was carried out
    std::atomic<std::int64_t> allRead_{0}; ///< number of the wish all of whose frames are there
    WakeUp heedWake_;                      ///< signalled with heeded_

    std::mutex wishMutex_;
    Wish wish_;
    std::atomic<bool> isNewSegment_{false}; ///< the wish is more than an announcement

    // The decode thread's.
    std::int64_t taken_ = 0; ///< number of the newest wish taken
    std::int64_t branch_ = 0;
    bool hasReadOn_ = true; ///< since the last announcement
    Segment segment_;
    RatePair rates_;
    std::unique_ptr<PlayPlan> plan_;     ///< none: nothing (more) to read
    const PlayPlan::Run* run_ = nullptr; ///< being read, of plan_
    RunPlace place_;
    std::unique_ptr<RunReader> reader_;
    bool isRunRead_ = false;    ///< to its end
    std::int64_t pushed_ = 0;   ///< frames of the run that are in the ring
    std::size_t toRead_ = 0;    ///< frames of the next chunk
    std::vector<float> chunk_;  ///< read last
    std::size_t chunkDone_ = 0; ///< frames of it that are in the ring
    bool isBlockDue_ = false;   ///< not all of it is

    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
