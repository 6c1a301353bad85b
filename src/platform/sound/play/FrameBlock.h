#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/play/RunTimeline.h"

namespace ambrel {

/// Rendered frames on their way to the device, all of one pass (and the pause before it).
struct RenderBlock {
    static constexpr std::size_t capacity = 64;

    std::int64_t epoch = 0;
    Pass pass;                 ///< the pass its frames belong to
    double fileFrameBegin = 0; ///< its first position, in file frames from the pass's start
    double fileFrameEnd = 0;   ///< its end position
    std::size_t frames = 0;
    std::int64_t pauseFrames = 0; ///< leading frames that are the pause before the pass
    bool last = false;            ///< last block of the segment
    bool passEnds = false;        ///< last block of the pass; `next` follows
    Pass next;
    std::array<float, 2 * capacity> samples{};

    /// The position of frame `frame` of the block, in file frames from the pass's start.
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
