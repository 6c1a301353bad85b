#include "platform/sound/device/OfflineOutput.h"

#include <algorithm>

namespace ambrel {

namespace {
constexpr std::size_t largestRequest = 1024;
} // namespace

void OfflineOutput::open(FrameSource& source) {
    source_ = &source;
    source.prepare(sampleRateHz_, largestRequest);
}

std::size_t OfflineOutput::pull(float* stereo, std::size_t frames) {
    std::size_t played = 0;
    for (std::size_t done = 0; done < frames;) {
        const std::size_t count = std::min(frames - done, largestRequest);
        played += source_->awaitFrames(count);
        source_->render(stereo + 2 * done, count);
        done += count;
        heard_ += static_cast<std::int64_t>(count);
    }
    return played;
}

} // namespace ambrel
