#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/sound/PassCourse.h"

namespace ambrel {

/// One uninterrupted stretch of sound on its way to the device: passes without a pause between
/// them. Frames of a run are counted from its first, at the device's rate.
///
/// Epochs tell commands apart, and only ever grow: every segment has a new one, and so has what is
/// left of it when the device's rate changes while it plays. Within an epoch the runs are counted
/// from 0.
struct RunPlace {
    std::int64_t epoch = 0;
    std::int64_t run = 0;
    double pauseFrames = 0;        ///< of silence before it, not rounded
    double fileFramesPerFrame = 1; ///< file rate ÷ device rate
};

/// A pass that begins: with the frame after the boundary, or after the pause that follows it.
struct PassBegin {
    std::int64_t pass = 0; ///< counted from the segment's first
    std::int64_t startFrame = 0;
    std::int64_t frameCount = 0;
    double pauseSeconds = 0; ///< of silence before it
};

/// Where a run ends, as far as is known.
struct RunEnd {
    std::int64_t frame = PassCourse::open;
    bool follows = false;  ///< another run comes after it
    PassBegin next;        ///< the first pass of that
    double exactFrame = 0; ///< not rounded
};

/// A row of equal passes at the device's rate. Its boundaries need not lie on whole frames.
struct PassSpan {
    double begin = 0;  ///< the run's frame at which the first begins
    double frames = 0; ///< of each
    Passes passes;     ///< the same at the file's rate
};

/// Frames between the decode thread and the render thread.
struct PlayerBlock {
    static constexpr std::size_t capacity = 256;

    RunPlace run;
    std::int64_t branch = 0; ///< which announcement of what follows it was made under
    std::int64_t begin = 0;  ///< the run's frame that is its first
    std::size_t frames = 0;
    RunEnd end;
    PassSpan span;                             ///< that its first frame belongs to
    std::array<float, 2 * capacity> samples{}; ///< interleaved stereo
};

/// Frames between the render thread and the device.
struct RenderBlock {
    static constexpr std::size_t capacity = 64;

    std::int64_t epoch = 0;
    PassBegin pass;            ///< that its frames belong to
    double fileFrameBegin = 0; ///< counted from the pass's first
    double fileFrameEnd = 0;
    std::size_t frames = 0;
    std::int64_t pauseFrames = 0; ///< of silence, from its first frame on, before the pass begins
    bool last = false;            ///< the segment ends with this block
    bool passEnds = false;        ///< the pass ends with this block, and `next` follows
    PassBegin next;
    std::array<float, 2 * capacity> samples{};

    /// The file frame that its frame `frame` is, counted from the pass's first.
    double fileFrameAt(std::size_t frame) const noexcept {
        if (frame >= frames)
            return fileFrameEnd;
        const auto sounding = double(std::int64_t(frame) - pauseFrames);
        return sounding <= 0 ? fileFrameBegin
                             : fileFrameBegin + (fileFrameEnd - fileFrameBegin) * sounding /
                                                    double(std::int64_t(frames) - pauseFrames);
    }
};

/// Where a stage pulls its frames from.
class FrameInput {
  public:
    virtual ~FrameInput() = default;

    /// Fills up to `frames` interleaved stereo frames and returns how many there were. Never waits.
    virtual std::size_t read(float* stereo, std::size_t frames) noexcept = 0;

    /// Where the run ends, as the next frame to be read knows it; absent where that never changes.
    virtual std::optional<std::int64_t> runEnd() noexcept { return std::nullopt; }
};

} // namespace ambrel
