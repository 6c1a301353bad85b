#pragma once

#include <cstdint>
#include <vector>

#include "platform/sound/AudioFile.h"
#include "platform/sound/file/Libav.h"

namespace ambrel {

/// Turns decoded frames of any sample format, channel layout and rate into interleaved floats of
/// one layout at one rate. Where the rate is right already, each frame is converted by itself:
/// nothing depends on what was converted before.
class SampleConverter {
  public:
    SampleConverter(AudioFile::Layout layout, int sampleRate);

    /// Frames that `block` makes. A block of another rate is converted here and kept.
    /// Throws std::runtime_error when the format cannot be converted.
    std::int64_t prepare(const AVFrame& block);

    /// Writes `count` frames, from `first` on, of the block last prepared. False where that fails.
    bool write(const AVFrame& block, std::int64_t first, std::int64_t count, float* out);

    int samplesPerFrame() const noexcept { return samplesPerFrame_; }

  private:
    void configure(const AVFrame& block);
    bool convert(const std::uint8_t** in, std::int64_t count, float* out);
    bool writeMean(std::int64_t count, float* out);

    AudioFile::Layout layout_;
    int sampleRate_;
    int samplesPerFrame_;
    libav::Owned<SwrContext> swr_;
    int format_ = AV_SAMPLE_FMT_NONE;
    int channels_ = 0;
    int blockRate_ = 0;
    std::uint64_t channelMask_ = 0;
    std::vector<float> resampled_;
    std::vector<const std::uint8_t*> planes_; ///< of the block, from the first frame to be written
    std::vector<float> unmixed_;              ///< all channels of more than swresample takes
};

} // namespace ambrel
