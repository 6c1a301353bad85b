#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/play/RunTimeline.h"

namespace ambrel {

/// Frames between the render thread and the device.
struct RenderBlock {
    static constexpr std::size_t capacity = 64;

    std::int64_t epoch = 0;
    Pass pass;                 ///< that its frames belong to
    double fileFrameBegin = 0; ///< counted from the pass's first
    double fileFrameEnd = 0;
    std::size_t frames = 0;
    std::int64_t pauseFrames = 0; ///< of silence, from its first frame on, before the pass begins
    bool last = false;            ///< the segment ends with this block
    bool passEnds = false;        ///< the pass ends with this block, and `next` follows
    Pass next;
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

} // namespace ambrel
