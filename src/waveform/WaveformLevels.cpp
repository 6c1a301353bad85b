#include "waveform/WaveformLevels.h"

#include <utility>

namespace ambrel {
namespace {

// Fewer values than this are drawn in less than a frame whatever the width.
constexpr std::size_t smallestLevel = 8192;

std::vector<float> largestOfGroups(const std::vector<float>& values) {
    constexpr std::size_t groupSize = WaveformLevels::groupSize;
    std::vector<float> result((values.size() + groupSize - 1) / groupSize, 0.0F);
    for (std::size_t i = 0; i < values.size(); ++i) {
        float& largest = result[i / groupSize];
        if (values[i] > largest)
            largest = values[i];
    }
    return result;
}

} // namespace

WaveformLevels::WaveformLevels(std::vector<float> peaks) : peaks_(std::move(peaks)) {
    for (const auto* finer = &peaks_; finer->size() >= smallestLevel * groupSize;
         finer = &coarser_.back())
        coarser_.push_back(largestOfGroups(*finer));
}

WaveformLevels::Level WaveformLevels::withAtLeast(double wanted) const {
    Level level{peaks_, 1};
    std::size_t peaksPerValue = 1;
    for (const auto& values : coarser_) {
        peaksPerValue *= groupSize;
        if (double(values.size()) >= wanted)
            level = {values, peaksPerValue};
    }
    return level;
}

} // namespace ambrel
