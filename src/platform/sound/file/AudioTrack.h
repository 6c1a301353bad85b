#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/sound/file/AudioDecoder.h"
#include "platform/sound/file/RegularFile.h"

namespace ambrel {

/// The first audio track of a file as a run of decoded blocks, each with its place in the track.
///
/// Places are counted in frames at the rate of the first block; frame 0 is the first frame that
/// decoding from the start delivers. A file that was written to is opened anew by the next seek;
/// where that fails, the track is read on as it was opened. One thread at a time. The file outlives
/// the track.
class AudioTrack {
  public:
    /// Opens the track and decodes its first block. Throws AudioFileError.
    explicit AudioTrack(const RegularFile& file);

    int sampleRate() const noexcept { return sampleRate_; }
    int channels() const noexcept { return channels_; }

    /// Where the track ends, in frames, as far as that shows without decoding: what the file
    /// states, or what its packets come to; where those have to be counted one by one, the count
    /// ends once the file is longer than any that is played. To be called before the first block is
    /// taken.
    std::int64_t findEnd();

    /// The length that the file states in frames; absent where it states none to be relied on.
    std::optional<std::int64_t> statedLength() const;

    /// Whether the container may hold padding beyond the stated length.
    bool padsBeyondStatedLength() const;

    /// Goes to a place from which decoding yields `target` as a decode from the start does: the
    /// next blocks begin well before it. False where nothing can be decoded there.
    bool seek(std::int64_t target);

    /// Decodes the next block. False at the end, or where decoding stops for good.
    bool next();

    const AVFrame& block() const noexcept { return decoder_->block(); }

    /// Where the block begins, in frames.
    std::int64_t place() const noexcept { return place_; }

    /// Tells how many frames at the track's rate the block came to, when that is not its own count.
    void setBlockFrames(std::int64_t frames) noexcept { expected_ = place_ + frames; }

  private:
    void open();
    bool reopen() noexcept;
    void standAtStart();
    bool rewind();
    bool settle();
    void placeBlock();
    bool isHole(std::int64_t deviation);
    bool isVorbis() const;
    std::optional<std::int64_t> stampedPlace() const;
    std::int64_t longestCount() const;
    std::int64_t scannedLength();
    std::optional<std::int64_t> framesUpToTheEndOfAWav() const;
    std::int64_t framesOf(std::int64_t ticks) const;
    std::int64_t ticksOf(std::int64_t frames) const;

    const RegularFile& file_;
    std::unique_ptr<AudioDecoder> decoder_; ///< never none
    RegularFile::Version opened_;           ///< of the file, by the decoder
    int sampleRate_; ///< of the file as it was opened first; other threads read it
    int channels_;
    std::int64_t firstStamp_ = 0;
    int firstBlockFrames_ = 0;
    std::optional<std::int64_t> expected_; ///< the place after the last block
    std::int64_t deviation_ = 0;           ///< of the last block's stamp from its place
    std::int64_t place_ = 0;
    bool fresh_ = false; ///< the block has been decoded and not yet delivered by next()
};

} // namespace ambrel
