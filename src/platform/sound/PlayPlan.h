#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "platform/sound/PassCourse.h"

namespace ambrel {

/// What is to be read of a segment and of what follows it, run after run: a pause ends a run. The
/// decode thread's; references to runs stay valid until they are dropped.
class PlayPlan {
  public:
    struct Run {
        std::int64_t number = 0;
        PassCourse course;
        double pauseSeconds = 0;          ///< before it
        std::optional<Continuation> then; ///< what comes after it and a pause
    };

    /// The end of a pass: the run, and in it the file frame.
    struct Boundary {
        std::int64_t run = 0;
        std::int64_t frame = 0;
    };

    PlayPlan(const Passes& first, const std::optional<Continuation>& next);

    /// Run `number`, planned if it is the one after the last; nullptr if nothing follows that.
    const Run* run(std::int64_t number);

    /// Runs before `number` are over.
    void forgetBefore(std::int64_t number);

    /// The first end of a pass from `frame` of `run` on; none if all there is ends before.
    std::optional<Boundary> boundaryFrom(std::int64_t run, std::int64_t frame) const;

    /// Whether the next pass follows there without a pause.
    bool isSeamless(Boundary boundary) const;

    /// From this boundary on `next` follows, instead of what did.
    void follow(Boundary boundary, const std::optional<Continuation>& next);

  private:
    std::deque<Run> runs_; ///< in order of their numbers, without gaps; at least one
};

} // namespace ambrel
