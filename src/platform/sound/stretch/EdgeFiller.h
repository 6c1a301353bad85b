#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/sound/stretch/InputHistory.h"

namespace ambrel {

/// Makes up the frames that a stretcher is fed before and after a run, for half its window.
///
/// Silence there would be a step in the signal, which the stretcher spreads into a click. The
/// file's own sound would let an attack just after the region be heard early. Instead, the sound
/// next to the edge is repeated at its best autocorrelation lag.
///
/// Owned by TimePitchUnit; render thread only. Allocates in the constructor only.
class EdgeFiller {
  public:
    /// `span`: frames next to an edge that are analysed.
    EdgeFiller(const InputHistory& input, std::size_t span);

    /// Begins another run.
    void begin() noexcept;

    /// Frames of the run from `frame` on are about to change.
    void rewind(std::int64_t frame) noexcept;

    /// Frames from the start of the run (or all of a shorter one) that must be in the history
    /// before frames ahead of the run are copied.
    std::size_t span() const noexcept { return span_; }

    /// Copies frames from `from` on, inside or outside a run of at least one frame that ends at
    /// `end`.
    void copy(std::int64_t from, std::int64_t end, float* stereo, std::size_t frames) noexcept;

  private:
    struct Edge {
        std::int64_t at = -1;   ///< the end of the run for which it was computed
        std::int64_t lag = 1;   ///< frames
        float step[2] = {0, 0}; ///< offset that joins the repetition to the run, per channel
    };

    void findBegin(std::int64_t end) noexcept;
    void findEnd(std::int64_t end) noexcept;
    void gather(std::int64_t end, bool isReversed) noexcept;
    std::int64_t bestLag() noexcept;
    double likeness(std::size_t lag, std::size_t stride) const noexcept;
    void extend(const Edge& edge, std::int64_t beyond, std::int64_t source, float* frame) noexcept;

    const InputHistory& input_;
    std::size_t span_;
    std::vector<float> near_; ///< mono, from the edge inwards
    Edge begin_, end_;
};

} // namespace ambrel
