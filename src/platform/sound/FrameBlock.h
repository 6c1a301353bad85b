#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ambrel {

/// One uninterrupted stretch of a segment on its way to the device. A segment is one run, unless
/// the device's rate changes while it plays: then a further run goes on where the first had come.
/// Runs are told apart by their epoch, which only ever grows.
struct RunPlace {
    std::int64_t epoch = 0;
    std::int64_t frames = 0;       ///< in the run, at the device's rate
    double fileFrame = 0;          ///< of the run's first frame, counted from the segment's first
    double fileFramesPerFrame = 1; ///< file rate ÷ device rate
    double fileFrameEnd = 0;       ///< the segment's length, where the position rests
};

/// Frames between the decode thread and the render thread.
struct PlayerBlock {
    static constexpr std::size_t capacity = 256;

    RunPlace run;
    std::size_t frames = 0;
    std::array<float, 2 * capacity> samples{}; ///< interleaved stereo
};

/// Frames between the render thread and the device.
struct RenderBlock {
    static constexpr std::size_t capacity = 64;

    std::int64_t epoch = 0;
    double fileFrameBegin = 0; ///< counted from the segment's first
    double fileFrameEnd = 0;
    std::size_t frames = 0;
    bool last = false; ///< the run ends with this block
    std::array<float, 2 * capacity> samples{};
};

/// Where a stage pulls its frames from.
class FrameInput {
  public:
    virtual ~FrameInput() = default;

    /// Fills up to `frames` interleaved stereo frames and returns how many there were. Never waits.
    virtual std::size_t read(float* stereo, std::size_t frames) noexcept = 0;
};

} // namespace ambrel
