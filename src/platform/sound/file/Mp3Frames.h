#pragma once

#include <cstdint>
#include <functional>

#include "platform/sound/file/RegularFile.h"

namespace ambrel {

/// Result of walking the frame headers of an MP3.
struct Mp3Walk {
    std::int64_t frames = 0;    ///< complete MPEG frames
    int samplesPerFrame = 0;    ///< per channel; 0 if there is no frame
    bool reachedTheEnd = false; ///< only a tag or an incomplete frame follows, or the handler
                                ///< ended the walk
};

/// Called for the first frame and every `step`th after it; return false to end the walk.
using Mp3FrameHandler = std::function<bool(std::int64_t frame, std::int64_t offset, int bytes)>;

/// Walks consecutive layer III frames of one version and rate from `offset` on. Reads only headers:
/// several times as fast as reading packets.
Mp3Walk walkMp3Frames(const RegularFile& file, std::int64_t offset, int step,
                      const Mp3FrameHandler& handle);

} // namespace ambrel
