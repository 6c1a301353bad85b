#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/InputHistory.h"

namespace ambrel {

/// The most recent output of the stretcher, and where in the input it would continue. Owned by
/// TimePitchUnit; render thread only. Allocates nothing.
class RecentSound {
  public:
    /// Frames compared: a period of the lowest note of a bass.
    static constexpr std::size_t frames = 2048;

    struct Match {
        std::int64_t frame = 0; ///< input frame that continues the newest output
        double likeness = 0;    ///< as Crossfade::likenessOf()
    };

    void add(const float* stereo, std::size_t count) noexcept;

    /// The best match within `mostLag` frames of `expected`. The history must hold the input from
    /// `expected` − `frames` − `mostLag` to `expected` + `mostLag`.
    Match findIn(const InputHistory& input, std::int64_t expected,
                 std::int64_t mostLag) const noexcept;

  private:
    std::array<float, frames> mono_{}; ///< ring buffer
    std::size_t next_ = 0;
};

} // namespace ambrel
