#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/AudioGraph.h"

namespace ambrel {

/// One playing of a region, in file frames.
struct Pass {
    std::int64_t number = 0;       ///< counted from the segment's first
    std::int64_t announcement = 0; ///< id; 0 for the segment's first pass
    std::int64_t startFrame = 0;
    std::int64_t frameCount = 0;
    double pauseSeconds = 0; ///< pause before it
};

/// A pass and a position in it.
struct Place {
    Pass pass;
    double fileFrame = 0; ///< from the pass's start
};

/// Which pass is where in a run, for the passes decided so far. Positions are file frames counted
/// from the start of the run. Render thread only; allocates nothing.
class RunTimeline {
  public:
    /// Consecutive equal passes.
    struct Row {
        std::int64_t begin = 0; ///< where the first begins, in frames of the run
        Pass first;
        std::int64_t count = 1;

        std::int64_t end() const noexcept { return begin + count * first.frameCount; }

        /// The end of the pass that contains `frame`, in frames of the run.
        std::int64_t boundaryAfter(std::int64_t frame) const noexcept;

        /// The file frame at frame `frame` of the run.
        std::int64_t fileFrameAt(std::int64_t frame) const noexcept;
    };

    /// Begins a run with one pass, `heard` frames into it.
    void begin(const Pass& first, std::int64_t heard) noexcept;

    /// Appends a pass.
    void append(const Announcement& next) noexcept;

    /// The pass that begins after the run and a pause.
    Pass passBehind(const Announcement& next) const noexcept;

    /// Removes passes that begin at `boundary` or later, except the first.
    void cutAt(std::int64_t boundary) noexcept;

    std::int64_t end() const noexcept { return last().end(); }

    /// The passes that contain `frame`; the last ones if it is at or after the end.
    const Row& at(std::int64_t frame) const noexcept;

    /// The first boundary at `frame` or later; end() if there is none.
    std::int64_t boundaryFrom(std::int64_t frame) const noexcept;

    Place placeAt(double frame) const noexcept;

  private:
    const Row& row(std::size_t i) const noexcept { return rows_[i % rows_.size()]; }
    const Row& last() const noexcept { return row(count_ - 1); }

    /// More regions than can lie between what is heard and what a stretcher has been fed.
    std::array<Row, 64> rows_{};
    std::size_t count_ = 1; ///< rows added minus rows removed
};

} // namespace ambrel
