#pragma once

#include "platform/sound/stretch/TimeMap.h"

namespace ambrel {

/// How a run is being stretched.
struct Stretch {
    const TimeMap& map; ///< from output to input frames
    double rate = 1;
    double pitch = 1; ///< ratio of the frequencies
};

} // namespace ambrel
