#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/InputHistory.h"

namespace ambrel {

/// The newest frames that were made, and where the input goes on as they do. One thread; allocates
/// nothing.
class RecentSound {
  public:
    /// What is compared: a period of the lowest note that a bass plays.
    static constexpr std::size_t frames = 2048;

    struct Match {
        std::int64_t frame = 0; ///< of the input, that goes on where the newest frame made ends
        double likeness = 0;    ///< as Crossfade::likenessOf()
    };

    void add(const float* stereo, std::size_t count) noexcept;

    /// The best within `mostLag` frames of `expected`. The input from `frames` and `mostLag` before
    /// that on must be there still, and `mostLag` behind it.
    Match findIn(const InputHistory& input, std::int64_t expected,
                 std::int64_t mostLag) const noexcept;

  private:
    std::array<float, frames> mono_{}; ///< a ring
    std::size_t next_ = 0;
};

} // namespace ambrel
