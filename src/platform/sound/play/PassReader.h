#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/sound/attack/RunAttack.h"
#include "platform/sound/play/RunTimeline.h"

namespace ambrel {

class FrameCache;

/// Reads the frames of a run at the file's rate, pass after pass. What follows a pass is decided
/// when its end is reached, from the newest announcement.
///
/// Where one pass follows another without a pause, the last 5 ms of the first (at most half of
/// either pass) are crossfaded with the 5 ms before the second's start. The second's first frame,
/// which may be an attack, stays untouched. The gains depend on how similar the two sounds are, so
/// that the level stays constant.
///
/// Attacks that are known by the time they are read are lifted out of what is stretched: from all
/// of their frames that the pass plays, or from none.
///
/// Render thread only; never waits. Allocates in the constructor only.
class PassReader {
  public:
    explicit PassReader(const FrameCache& cache) : cache_(cache) {
        attacks_.reserve(mostAttacks + 1);
    }

    /// Begins a segment of a file with this sample rate. The first run starts with `first`, `heard`
    /// frames into it; `next` follows.
    void begin(int fileHz, const Pass& first, std::int64_t heard,
               const std::optional<Announcement>& next);

    /// Begins the next run. False if nothing follows.
    bool beginNextRun();

    /// Replaces the announcement for boundaries at `changeable` or later (a fractional frame of the
    /// run). If frames already read have become wrong, returns the first of them; reading resumes
    /// there.
    std::optional<std::int64_t> follow(const std::optional<Announcement>& next, double changeable);

    /// Resumes reading at `frame` of the run, 0 or later.
    void goBackTo(std::int64_t frame) noexcept { next_ = frame; }

    /// Fills up to `frames` stereo frames, of the sound and of its rest without attacks, and
    /// returns how many: fewer at the run's end or where the cache has no more yet.
    std::size_t read(float* sound, float* rest, std::size_t frames);

    /// The attacks lifted out so far, in order; the last ones if there are many.
    std::span<const RunAttack> attacks() const noexcept { return attacks_; }

    /// The frame of the run that is read next.
    std::int64_t next() const noexcept { return next_; }

    /// The same as a file frame.
    std::int64_t nextInFile() const noexcept { return timeline_.at(next_).fileFrameAt(next_); }

    /// Frames left in the pass being read.
    std::int64_t leftInPass() const noexcept;

    /// Where the run ends as far as is known; FrameInput::endless if it does not.
    std::int64_t end() const noexcept;

    /// The pass that begins after this run and a pause; absent if nothing follows.
    std::optional<Pass> afterEnd() const noexcept;

    /// What follows the passes decided so far.
    const std::optional<Announcement>& following() const noexcept { return following_; }

    const RunTimeline& timeline() const noexcept { return timeline_; }

    std::int64_t longestCrossfade() const noexcept { return longestCrossfade_; }

  private:
    /// The crossfade at a boundary, kept for reading it in parts and for the next pass.
    struct Crossfaded {
        static constexpr std::int64_t mostFrames = 4096; ///< 5 ms at rates far above any file's

        std::int64_t boundary = -1; ///< frame of the run at which the second pass begins
        std::int64_t start = 0;     ///< file frame of that
        std::int64_t frames = -1;
        std::array<float, 2 * mostFrames> sound, rest;
    };
    static constexpr std::size_t mostAttacks = 64; ///< 1.3 s of them

    bool followsSeamlessly() const noexcept;
    bool decide() noexcept;
    void settleEnd() noexcept;
    std::int64_t crossfadeLength(std::int64_t boundary) const noexcept;
    bool makeCrossfade(std::int64_t boundary, std::int64_t frames);
    void beginReading() noexcept;
    void findAttacks(std::int64_t boundary, std::int64_t from, std::int64_t to,
                     std::int64_t fadeIn);
    void lift(std::int64_t boundary, std::int64_t from, float* stereo,
              std::int64_t frames) const noexcept;
    std::int64_t dropAttacks(std::int64_t from) noexcept;

    const FrameCache& cache_;
    RunTimeline timeline_;
    std::int64_t next_ = 0;
    std::int64_t longestCrossfade_ = 0;
    std::optional<Announcement> following_;
    bool isEndSettled_ = false;    ///< the run ends with the passes decided so far
    std::optional<Pass> afterEnd_; ///< what follows then
    Crossfaded crossfade_;
    std::array<float, 2 * Crossfaded::mostFrames> beside_;
    std::vector<RunAttack> attacks_;
    std::int64_t searched_ = 0;      ///< up to this frame of the run attacks have been lifted out
    std::int64_t searchedPass_ = -1; ///< the end of the pass in which they have last been
};

} // namespace ambrel
