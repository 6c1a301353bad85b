#pragma once

#include <cstdint>
#include <functional>

#include "platform/sound/file/RegularFile.h"

namespace ambrel {

/// What walking from frame header to frame header of an MP3 came to.
struct Mp3Walk {
    std::int64_t frames = 0;    ///< MPEG frames passed, whole ones
    int samplesPerFrame = 0;    ///< per channel; 0 where no frame was found
    bool reachedTheEnd = false; ///< only a tag or a frame cut off lies behind the last of them, or
                                ///< the handler asked for no more
};

/// Called for the first frame and every `step`th after it; false ends the walk.
using Mp3FrameHandler = std::function<bool(std::int64_t frame, std::int64_t offset, int bytes)>;

/// Walks the layer III frames of one version and rate that follow each other from `offset` on
/// without a byte between them. Looks at headers alone: several times as fast as reading packets.
Mp3Walk walkMp3Frames(const RegularFile& file, std::int64_t offset, int step,
                      const Mp3FrameHandler& handle);

} // namespace ambrel
