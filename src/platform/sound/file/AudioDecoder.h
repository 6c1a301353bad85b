#pragma once

#include <cstdint>

#include "platform/sound/file/Libav.h"
#include "platform/sound/file/MemoryLimit.h"
#include "platform/sound/file/RegularFile.h"

namespace ambrel {

/// Reads and decodes the first audio track of a file, block by block. Blocks carry the container's
/// time stamps, in ticks of its time base; AudioTrack turns them into frames.
///
/// A decoder keeps what it found on opening; a changed file needs a new one. One thread at a time.
/// The file must outlive the decoder.
class AudioDecoder {
  public:
    /// A packet in the container.
    struct Packet {
        std::int64_t offset = -1; ///< in bytes; negative if unknown
        std::int64_t stamp = 0;   ///< in ticks
        std::int64_t ticks = 0;   ///< duration
    };

    /// Opens the file at its start. Throws AudioFileError.
    explicit AudioDecoder(const RegularFile& file);

    const AVFormatContext& container() const noexcept { return *container_; }
    const AVStream& stream() const noexcept { return *stream_; }

    /// Decodes the next block. False at the end, or if reading fails for good. Packets that cannot
    /// be decoded are skipped.
    bool next();

    const AVFrame& block() const noexcept { return *frame_; }

    /// Seeks to where the container finds best for reaching `stamp`, at or before it.
    bool seek(std::int64_t stamp);

    /// Seeks to the first packet and decodes the first block. False if the seek ended elsewhere.
    bool seekToStart();

    /// The first packet of the track, known once a block has been decoded.
    const Packet& firstPacket() const noexcept { return firstPacket_; }

    /// Adds a packet to the container's seek index.
    void addSeekPoint(std::int64_t stamp, std::int64_t offset, int bytes);

    /// Reads packets without decoding them, to the end or until they reach `limit`. Returns the
    /// stamp reached.
    std::int64_t scanToEnd(std::int64_t limit);

  private:
    void openContainer();
    void openDecoder();
    bool readPacket();
    bool sendPacket();

    const RegularFile& file_;
    MemoryLimit limit_;
    RegularFileReader reader_;
    libav::Owned<AVFormatContext> container_;
    libav::Owned<AVCodecContext> decoder_;
    libav::Owned<AVPacket> packet_;
    libav::Owned<AVFrame> frame_;
    AVStream* stream_ = nullptr;
    Packet firstPacket_;
    std::int64_t landedAt_ = -1; ///< offset of the first packet since the last seek
    bool draining_ = false;
};

} // namespace ambrel
