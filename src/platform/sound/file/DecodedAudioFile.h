#pragma once

#include "platform/sound/AudioFile.h"
#include "platform/sound/file/AudioTrack.h"
#include "platform/sound/file/RegularFile.h"
#include "platform/sound/file/SampleConverter.h"

namespace ambrel {

/// AudioFile on an AudioTrack: keeps one decoded block, reads on from it where it can and seeks
/// where it must. Reading on from where the last read ended never seeks.
class DecodedAudioFile : public AudioFile {
  public:
    /// Opens the file and settles its length. Throws AudioFileError.
    DecodedAudioFile(const std::filesystem::path& path, Layout layout);

    const std::filesystem::path& path() const noexcept override { return file_.path(); }
    int sampleRate() const noexcept override { return track_.sampleRate(); }
    int channels() const noexcept override { return channels_; }
    std::int64_t length() const noexcept override { return length_; }
    int samplesPerFrame() const noexcept override { return converter_.samplesPerFrame(); }
    std::size_t read(std::int64_t first, std::span<float> out) noexcept override;

  private:
    /// What decoding from a place to the end of the file came to.
    struct Ending {
        bool decoded;     ///< anything was decoded at all
        bool ended;       ///< and it went on to the file's end
        std::int64_t end; ///< the place reached
    };

    bool nextBlock();
    bool seek(std::int64_t place);
    bool goTo(std::int64_t place);
    std::int64_t readFrames(std::int64_t first, std::int64_t count, float* out);
    std::int64_t findLength();
    std::int64_t searchEnd(std::int64_t known, std::int64_t stated);
    Ending decodeToEnd(std::int64_t from);

    RegularFile file_;
    AudioTrack track_;
    SampleConverter converter_;
    int channels_;
    std::int64_t blockStart_ = 0;
    std::int64_t blockFrames_ = 0; ///< 0: the next block begins at blockStart_
    bool lost_ = true;             ///< only a seek leads on
    std::int64_t length_;
};

} // namespace ambrel
