#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/sound/stretch/InputHistory.h"

namespace ambrel {

/// What a stretcher is fed beyond the ends of a run, for half its window.
///
/// Silence there would be a step in the sound, which a stretcher spreads into a click, and the
/// file's own sound would let an attack behind the region's end be heard ahead of itself. So the
/// sound next to the end goes on as it was: repeated with the lag at which it is most like itself.
///
/// One thread. Allocates in the constructor only.
class EdgeFiller {
  public:
    /// Looks at up to `span` frames next to an end.
    EdgeFiller(const InputHistory& input, std::size_t span);

    /// Another run begins.
    void begin() noexcept;

    /// Frames of the run from `frame` on are replaced.
    void rewind(std::int64_t frame) noexcept;

    /// Frames that must have been taken, in a run that long, before copy() of one before its first.
    std::size_t span() const noexcept { return span_; }

    /// Frames from `from` on of a run that ends at `end`; it has at least one.
    void copy(std::int64_t from, std::int64_t end, float* stereo, std::size_t frames) noexcept;

  private:
    struct Edge {
        std::int64_t at = -1;   ///< the run's end that it was found for
        std::int64_t lag = 1;   ///< frames
        float step[2] = {0, 0}; ///< from what would come to what the run has, per channel
    };

    void findBegin(std::int64_t end) noexcept;
    void findEnd(std::int64_t end) noexcept;
    void gather(std::int64_t end, bool isReversed) noexcept;
    std::int64_t bestLag() noexcept;
    double likeness(std::size_t lag, std::size_t stride) const noexcept;
    void extend(const Edge& edge, std::int64_t beyond, std::int64_t source, float* frame) noexcept;

    const InputHistory& input_;
    std::size_t span_;
    std::vector<float> near_; ///< mono, from the end inwards
    Edge begin_, end_;
};

} // namespace ambrel
