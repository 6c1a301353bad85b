#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/AudioGraph.h"

namespace ambrel {

/// A pass through a region of the file.
struct Pass {
    std::int64_t number = 0;       ///< counted from the segment's first
    std::int64_t announcement = 0; ///< that it was played for; 0 for the segment's first
    std::int64_t startFrame = 0;
    std::int64_t frameCount = 0;
    double pauseSeconds = 0; ///< of silence before it, as it was asked for
};

/// Which passes lie where in a run, that is, in a stretch of sound without a pause: those that were
/// decided so far. Frames are the file's, counted from the run's first. One thread; allocates
/// nothing.
class RunTimeline {
  public:
    /// A pass, and where in it a frame lies.
    struct Place {
        Pass pass;
        double fileFrame = 0; ///< counted from the pass's first
    };

    /// Equal passes, one after the other.
    struct Row {
        std::int64_t begin = 0; ///< the run's frame at which the first begins
        Pass first;
        std::int64_t count = 1;

        std::int64_t end() const noexcept { return begin + count * first.frameCount; }

        /// The run's frame at which the pass ends that `frame` lies in.
        std::int64_t boundaryAfter(std::int64_t frame) const noexcept;

        /// The file's frame that is the run's frame `frame`.
        std::int64_t fileFrameAt(std::int64_t frame) const noexcept;
    };

    /// A run with one pass, which begins `heard` frames before the run does.
    void begin(const Pass& first, std::int64_t heard) noexcept;

    /// Adds one more pass.
    void append(const Announcement& next) noexcept;

    /// The pass that begins behind the run, after a pause.
    Pass passBehind(const Announcement& next) const noexcept;

    /// Passes that begin at `boundary` or later are no longer part of the run; the first stays.
    void cutAt(std::int64_t boundary) noexcept;

    std::int64_t end() const noexcept { return last().end(); }

    /// The passes that `frame` belongs to; the last behind the end.
    const Row& at(std::int64_t frame) const noexcept;

    /// The first end of a pass at `frame` or later; end() if all lie before.
    std::int64_t boundaryFrom(std::int64_t frame) const noexcept;

    Place placeAt(double frame) const noexcept;

  private:
    const Row& row(std::size_t i) const noexcept { return rows_[i % rows_.size()]; }
    const Row& last() const noexcept { return row(count_ - 1); }

    /// More different regions than there can be between what is heard and what has been fed into a
    /// stretcher.
    std::array<Row, 64> rows_{};
    std::size_t count_ = 1; ///< ever added, less those cut off
};

} // namespace ambrel
