#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/sound/Resampler.h"

namespace ambrel {

class AudioFile;

/// A segment of a file as stereo frames at the device's rate, read from its first to its last.
///
/// It always lasts what was asked for: frames before the file, behind it, and those that do not
/// decode are silence. Samples that are no numbers are silence too, and none is larger than 1,000
/// times full scale, so that one broken sample cannot spoil the filters behind. The decode
/// thread's.
class SegmentReader {
  public:
    SegmentReader(std::shared_ptr<AudioFile> file, std::int64_t startFrame, std::int64_t frameCount,
                  int outputRateHz);

    /// Frames of the segment at the output's rate.
    std::int64_t frames() const noexcept { return frames_; }

    /// Fills `frames` frames, fewer only at the segment's end; returns how many. May block.
    std::size_t read(float* stereo, std::size_t frames);

  private:
    std::size_t readFile(float* stereo, std::size_t frames);
    void readInside(float* stereo, std::int64_t first, std::size_t frames);

    std::shared_ptr<AudioFile> file_;
    std::int64_t next_; ///< file frame
    std::int64_t end_;  ///< file frame
    std::int64_t frames_;
    std::int64_t read_ = 0;
    std::vector<float> mono_;
    Resampler resampler_;
};

} // namespace ambrel
