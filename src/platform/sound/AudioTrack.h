#pragma once

#include <cstdint>
#include <optional>

#include "platform/sound/Libav.h"
#include "platform/sound/RegularFile.h"

namespace ambrel {

/// The first audio track of a file as a run of decoded blocks, each with its place in the track.
///
/// Places are counted in frames at the rate of the first block; frame 0 is the first frame that
/// decoding from the start delivers. One thread at a time. The file outlives the track.
class AudioTrack {
  public:
    /// Opens the track and decodes its first block. Throws AudioFileError.
    explicit AudioTrack(const RegularFile& file);
    ~AudioTrack();

    AudioTrack(const AudioTrack&) = delete;
    AudioTrack& operator=(const AudioTrack&) = delete;

    int sampleRate() const noexcept { return sampleRate_; }
    int channels() const noexcept { return channels_; }

    /// Where the track ends, in frames, as far as that shows without decoding: what the file
    /// states, or what its packets come to. To be called before the first block is taken.
    std::int64_t findEnd();

    /// The length that the file states in frames; absent where it states none to be relied on.
    std::optional<std::int64_t> statedLength() const;

    /// Whether the container may hold padding beyond the stated length.
    bool padsBeyondStatedLength() const;

    /// Goes to a place from which decoding yields `target` as a decode from the start does: the
    /// next blocks begin well before it. False where nothing can be decoded there.
    bool seek(std::int64_t target);

    /// Goes back to the start.
    bool rewind();

    /// Decodes the next block. False at the end, or where decoding stops for good.
    bool next();

    const AVFrame& block() const noexcept { return *frame_; }

    /// Where the block begins, in frames.
    std::int64_t place() const noexcept { return place_; }

    /// Tells how many frames at the track's rate the block came to, when that is not its own count.
    void setBlockFrames(std::int64_t frames) noexcept { expected_ = place_ + frames; }

  private:
    void openContainer();
    void openDecoder();
    void decodeFirstBlock();
    void restartDecoder();
    bool seekToFirstBlock();
    std::int64_t scanToEnd();
    bool settle();
    bool decodeBlock();
    bool sendPacket();
    std::optional<std::int64_t> stampedPlace() const;
    void placeBlock();
    bool isHole(std::int64_t deviation);
    bool isVorbis() const;
    std::int64_t framesOf(std::int64_t ticks) const;
    std::int64_t ticksOf(std::int64_t frames) const;

    const RegularFile& file_;
    std::optional<RegularFileReader> reader_;
    libav::Owned<AVFormatContext> container_;
    libav::Owned<AVCodecContext> decoder_;
    libav::Owned<AVPacket> packet_;
    libav::Owned<AVFrame> frame_;
    AVStream* stream_ = nullptr;
    int sampleRate_ = 0;
    int channels_ = 0;
    struct Packet {
        std::int64_t offset = -1; ///< in bytes; below 0 where it is not known
        std::int64_t stamp = 0;
        std::int64_t ticks = 0; ///< its duration
    };
    Packet firstPacket_;
    std::int64_t landedAt_ = -1; ///< offset of the first packet since the last seek
    std::int64_t firstStamp_ = 0;
    int firstBlockFrames_ = 0;
    std::optional<std::int64_t> expected_; ///< the place after the last block
    std::int64_t deviation_ = 0;           ///< of the last block's stamp from its place
    std::int64_t place_ = 0;
    bool draining_ = false;
    bool fresh_ = false; ///< the first block has been decoded and not yet delivered
};

} // namespace ambrel
