#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/sound/file/AudioDecoder.h"
#include "platform/sound/file/RegularFile.h"

namespace ambrel {

/// The first audio track of a file as a sequence of decoded blocks with positions.
///
/// Positions are frames at the rate of the first block; frame 0 is the first that decoding from the
/// start delivers. If the file has been written to, the next seek reopens it; if that fails, the
/// track is read as it was opened. One thread at a time. The file must outlive the track.
class AudioTrack {
  public:
    /// Opens the track and decodes its first block. Throws AudioFileError.
    explicit AudioTrack(const RegularFile& file);

    int sampleRate() const noexcept { return sampleRate_; }
    int channels() const noexcept { return channels_; }

    /// The end of the track in frames, as far as is known without decoding: from the length that
    /// the file states, or by counting packets, up to the longest file that Ambrel plays. Call
    /// before the first next().
    std::int64_t findEnd();

    /// The length that the file states, in frames; absent if there is none or it is not reliable.
    std::optional<std::int64_t> statedLength() const;

    /// Whether the file may contain padding beyond the stated length.
    bool padsBeyondStatedLength() const;

    /// Seeks to well before `target`, so that decoding yields the same frames there as from the
    /// start. False if nothing can be decoded there.
    bool seek(std::int64_t target);

    /// Decodes the next block. False at the end, or if decoding stops for good.
    bool next();

    const AVFrame& block() const noexcept { return decoder_->block(); }

    /// Position of the block, in frames.
    std::int64_t place() const noexcept { return place_; }

    /// Sets how many frames the block has at the track's rate, if not its own number.
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
    std::unique_ptr<AudioDecoder> decoder_; ///< never null
    RegularFile::Version opened_;           ///< version of the file that the decoder opened
    int sampleRate_; ///< of the file as it was opened first; other threads read it
    int channels_;
    std::int64_t firstStamp_ = 0;
    int firstBlockFrames_ = 0;
    std::optional<std::int64_t> expected_; ///< position after the last block
    std::int64_t deviation_ = 0;           ///< of the last block's stamp from its position
    std::int64_t place_ = 0;
    bool fresh_ = false; ///< decoded but not yet returned by next()
};

} // namespace ambrel
