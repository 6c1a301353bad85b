#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ambrel {

/// The peaks of a file, and the same peaks in ever coarser groups, so that what it takes to draw a
/// file depends on the width of the picture and not on the number of its peaks.
///
/// An ordinary file has a few thousand peaks and no coarser level; a file that claims an enormous
/// sample rate can have millions.
class WaveformLevels {
  public:
    /// Peaks that one value of a level stands for in the next coarser one.
    static constexpr std::size_t groupSize = 4;

    /// Neighbouring peaks, each group reduced to its largest.
    struct Level {
        std::span<const float> values;
        std::size_t peaksPerValue = 1;
    };

    WaveformLevels() = default;
    explicit WaveformLevels(std::vector<float> peaks);

    bool empty() const { return peaks_.empty(); }
    std::size_t count() const { return peaks_.size(); }

    /// The coarsest level that still has at least `wanted` values; the peaks themselves when none
    /// has. Valid as long as this object is neither assigned to nor destroyed.
    Level withAtLeast(double wanted) const;

  private:
    std::vector<float> peaks_;
    std::vector<std::vector<float>> coarser_;
};

} // namespace ambrel
