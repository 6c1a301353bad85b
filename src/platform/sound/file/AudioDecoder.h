#pragma once

#include <cstdint>

#include "platform/sound/file/Libav.h"
#include "platform/sound/file/RegularFile.h"

namespace ambrel {

/// The first audio track of a file, read and decoded block by block. Blocks carry the stamps of the
/// container (in ticks of its time base); where in the track that is, AudioTrack works out.
///
/// It is opened once and for all: a file that has changed is opened by another decoder. One thread
/// at a time. The file outlives the decoder.
class AudioDecoder {
  public:
    /// A packet as the container gave it.
    struct Packet {
        std::int64_t offset = -1; ///< in bytes; below 0 where it is not known
        std::int64_t stamp = 0;
        std::int64_t ticks = 0; ///< its duration
    };

    /// Opens the file at its start. Throws AudioFileError.
    explicit AudioDecoder(const RegularFile& file);

    const AVFormatContext& container() const noexcept { return *container_; }
    const AVStream& stream() const noexcept { return *stream_; }

    /// Decodes the next block. False at the end, or where reading fails for good. Packets that do
    /// not decode are passed over.
    bool next();

    const AVFrame& block() const noexcept { return *frame_; }

    /// Goes to where the container thinks best to reach `stamp` from, at or before it.
    bool seek(std::int64_t stamp);

    /// Goes to the first packet and decodes the first block. False where it came out elsewhere.
    bool seekToStart();

    /// The first packet of the track, known once a block has been decoded.
    const Packet& firstPacket() const noexcept { return firstPacket_; }

    /// Tells the container of a packet that it can seek to.
    void addSeekPoint(std::int64_t stamp, std::int64_t offset, int bytes);

    /// Reads the packets from here to the end, or until they reach `limit`, without decoding them.
    /// The stamp of where that is.
    std::int64_t scanToEnd(std::int64_t limit);

  private:
    void openContainer();
    void openDecoder();
    bool readPacket();
    bool sendPacket();

    const RegularFile& file_;
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
