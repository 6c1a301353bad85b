#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/sound/play/RunTimeline.h"

namespace ambrel {

class FrameCache;

/// The frames of a run at the file's rate, pass after pass, each decided when it is reached: what
/// follows a pass is what was said to follow by then.
///
/// Where one pass follows another, the last 5 ms of the first (half a pass at most) are crossfaded
/// with the 5 ms that lie before the second's start, so that the second's first frame, which may be
/// an attack, stays as it is. The gains follow how alike the two are, so that the level neither
/// rises nor falls.
///
/// One thread, which never waits. Allocates nothing.
class PassReader {
  public:
    explicit PassReader(const FrameCache& cache) : cache_(cache) {}

    /// Another segment begins, of a file of this rate, with a run whose first pass is `first`, of
    /// which `heard` frames were heard before; `next` follows.
    void begin(int fileHz, const Pass& first, std::int64_t heard,
               const std::optional<Announcement>& next);

    /// The run after this one begins. False if none follows.
    bool beginNextRun();

    /// Changes what follows passes that end at `changeable` or later (a frame of the run, not
    /// whole). Gives the frame from which on frames that were read are others now, if some are;
    /// these are read anew.
    std::optional<std::int64_t> follow(const std::optional<Announcement>& next, double changeable);

    /// Goes back to `frame`, at or behind the run's first.
    void goBackTo(std::int64_t frame) noexcept { next_ = frame; }

    /// Fills up to `frames` stereo frames and returns how many: fewer at the run's end, or where
    /// frames are not there yet.
    std::size_t read(float* stereo, std::size_t frames);

    /// The run's frame that is read next.
    std::int64_t next() const noexcept { return next_; }

    /// The frame of the file that this is.
    std::int64_t nextInFile() const noexcept { return timeline_.at(next_).fileFrameAt(next_); }

    /// Frames until the pass that is being read ends.
    std::int64_t leftInPass() const noexcept;

    /// The run's end as it is now known; FrameInput::endless if it has none.
    std::int64_t end() const noexcept;

    /// The pass that begins after the run and its pause; absent if nothing follows.
    std::optional<Pass> afterEnd() const noexcept;

    /// What follows passes that were not decided yet.
    const std::optional<Announcement>& following() const noexcept { return following_; }

    const RunTimeline& timeline() const noexcept { return timeline_; }

    std::int64_t longestCrossfade() const noexcept { return longestCrossfade_; }

  private:
    /// The end of one pass faded into the beginning of the next.
    struct Crossfaded {
        static constexpr std::int64_t mostFrames = 4096; ///< 5 ms at rates far above any file's

        std::int64_t end = 0;   ///< file frame that the first ends at
        std::int64_t start = 0; ///< file frame that the second begins at
        std::int64_t frames = -1;
        std::array<float, 2 * mostFrames> stereo, beside;
    };

    bool followsSeamlessly() const noexcept;
    bool decide() noexcept;
    void settleEnd() noexcept;
    std::int64_t crossfadeLength(std::int64_t boundary) const noexcept;
    bool makeCrossfade(std::int64_t boundary, std::int64_t frames);

    const FrameCache& cache_;
    RunTimeline timeline_;
    std::int64_t next_ = 0;
    std::int64_t longestCrossfade_ = 0;
    std::optional<Announcement> following_;
    bool isEndSettled_ = false; ///< the run ends at the timeline's end, whatever is said to follow
    std::optional<Pass> afterEnd_; ///< and then this begins
    Crossfaded crossfade_;
};

} // namespace ambrel
