#pragma once

#include "platform/sound/AudioFile.h"
#include "platform/sound/file/AudioTrack.h"
#include "platform/sound/file/RegularFile.h"
#include "platform/sound/file/SampleConverter.h"

namespace ambrel {

/// AudioFile that reads an AudioTrack: keeps one decoded block, continues from it if possible and
/// seeks otherwise. Consecutive reads never seek. Threads as AudioFile.
class DecodedAudioFile : public AudioFile {
  public:
    /// Opens the file and determines its length. Throws AudioFileError.
    DecodedAudioFile(const std::filesystem::path& path, Layout layout);

    const std::filesystem::path& path() const noexcept override { return file_.path(); }
    int sampleRate() const noexcept override { return track_.sampleRate(); }
    int channels() const noexcept override { return channels_; }
    std::int64_t length() const noexcept override { return length_; }
    int samplesPerFrame() const noexcept override { return converter_.samplesPerFrame(); }
    std::size_t read(std::int64_t first, std::span<float> out) noexcept override;
    std::int64_t afterGap(std::int64_t first) noexcept override;

  private:
    /// Result of decoding from a position to the end of the file.
    struct Ending {
        bool decoded;     ///< at least one block was decoded
        bool ended;       ///< and the end of the file was reached
        std::int64_t end; ///< position reached
    };

    bool nextBlock();
    bool seek(std::int64_t place);
    bool goTo(std::int64_t place);
    bool reach(std::int64_t place);
    std::int64_t readFrames(std::int64_t first, std::int64_t count, float* out);
    std::int64_t findLength();
    std::int64_t searchEnd(std::int64_t known, std::int64_t stated);
    Ending decodeToEnd(std::int64_t from);

    RegularFile file_;
    AudioTrack track_;
    SampleConverter converter_;
    int channels_;
    std::int64_t gapStart_ = 0; ///< where what lies before the block ends; mostly blockStart_
    std::int64_t blockStart_ = 0;
    std::int64_t blockFrames_ = 0; ///< 0: the next block begins at blockStart_
    bool lost_ = true;             ///< the next read must seek
    std::int64_t length_;
};

} // namespace ambrel
