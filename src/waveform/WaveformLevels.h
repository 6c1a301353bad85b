#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ambrel {

/// The peaks of a file at several resolutions, so that the cost of drawing depends on the width of
/// the view and not on the number of peaks.
///
/// An ordinary file has a few thousand peaks and no coarser level; a file that claims an enormous
/// sample rate can have millions.
class WaveformLevels {
  public:
    /// Values of a level that become one in the next coarser level.
    static constexpr std::size_t groupSize = 4;

    /// One resolution: each value is the largest of neighbouring peaks.
    struct Level {
        std::span<const float> values;
        std::size_t peaksPerValue = 1;
    };

    WaveformLevels() = default;
    explicit WaveformLevels(std::vector<float> peaks);

    bool empty() const { return peaks_.empty(); }
    std::size_t count() const { return peaks_.size(); }

    /// The coarsest level with at least `wanted` values, or the peaks themselves. Valid until this
    /// object is assigned to or destroyed.
    Level withAtLeast(double wanted) const;

  private:
    std::vector<float> peaks_;
    std::vector<std::vector<float>> coarser_;
};

} // namespace ambrel
