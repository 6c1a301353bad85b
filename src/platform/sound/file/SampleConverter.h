#pragma once

#include <cstdint>
#include <vector>

#include "platform/sound/AudioFile.h"
#include "platform/sound/file/Libav.h"

namespace ambrel {

/// Converts decoded blocks of any sample format, channel layout and rate to interleaved floats of
/// one layout and rate. One thread at a time.
///
/// At equal rates each frame is converted by itself, independent of earlier ones.
class SampleConverter {
  public:
    SampleConverter(AudioFile::Layout layout, int sampleRate);

    /// Returns the number of frames that `block` becomes. A block of another rate is resampled here
    /// and kept. Throws std::runtime_error if the format cannot be converted.
    std::int64_t prepare(const AVFrame& block);

    /// Writes `count` frames from `first` on of the block last prepared. False on failure.
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
    std::vector<const std::uint8_t*> planes_; ///< of the block, from the first frame to write
    std::vector<float> unmixed_;              ///< all channels, if more than swresample supports
};

} // namespace ambrel
