#include "platform/sound/file/Mp3Frames.h"

#include <array>
#include <cstring>
#include <vector>

namespace ambrel {
namespace {

constexpr int blockBytes = 1 << 20;
constexpr int headerBytes = 4;

/// Version, layer and sample rate, constant within a stream.
constexpr std::uint32_t constantBits = 0xfffe0c00;

struct Header {
    int bytes = 0; ///< of the whole frame; 0 if not a layer III header of known length
    int samples = 0;
};

std::uint32_t bigEndian(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

Header parse(std::uint32_t word) {
    constexpr std::array<int, 15> kilobitsOfVersion1{0,   32,  40,  48,  56,  64,  80, 96,
                                                     112, 128, 160, 192, 224, 256, 320};
    constexpr std::array<int, 15> kilobitsOfVersion2{0,  8,  16, 24,  32,  40,  48, 56,
                                                     64, 80, 96, 112, 128, 144, 160};
    constexpr std::array<int, 3> ratesOfVersion1{44100, 48000, 32000};
    const std::uint32_t version = word >> 19 & 3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
    const std::uint32_t layer = word >> 17 & 3;   // 1: layer III
    const std::uint32_t bitRate = word >> 12 & 15;
    const std::uint32_t rate = word >> 10 & 3;
    if (word >> 21 != 0x7ff || version == 1 || layer != 1 || bitRate == 0 || bitRate == 15 ||
        rate == 3) {
        return {};
    }
    const bool first = version == 3;
    const int kilobits = first ? kilobitsOfVersion1[bitRate] : kilobitsOfVersion2[bitRate];
    const int hertz = ratesOfVersion1[rate] >> (first ? 0 : version == 2 ? 1 : 2);
    const int padding = static_cast<int>(word >> 9 & 1);
    return {(first ? 144 : 72) * kilobits * 1000 / hertz + padding, first ? 1152 : 576};
}

/// Reads the file in large blocks, to avoid a system call per header.
class BlockReader {
  public:
    explicit BlockReader(const RegularFile& file) : file_(file), block_(blockBytes) {}

    /// Up to `count` bytes at `offset`; empty if the file ends before.
    const std::uint8_t* at(std::int64_t offset, int count) {
        if (offset < start_ || offset + count > start_ + filled_) {
            start_ = offset;
            filled_ = std::max(0, file_.readAt(offset, block_.data(), blockBytes));
        }
        return offset + count <= start_ + filled_ ? block_.data() + (offset - start_) : nullptr;
    }

  private:
    const RegularFile& file_;
    std::vector<std::uint8_t> block_;
    std::int64_t start_ = 0;
    int filled_ = 0;
};

/// Whether what follows the last frame is a tag.
bool isTag(const std::uint8_t* bytes) {
    return std::memcmp(bytes, "TAG", 3) == 0 || std::memcmp(bytes, "APET", 4) == 0 ||
           std::memcmp(bytes, "LYRI", 4) == 0;
}

} // namespace

Mp3Walk walkMp3Frames(const RegularFile& file, std::int64_t offset, int step,
                      const Mp3FrameHandler& handle) {
    Mp3Walk walk;
    BlockReader reader(file);
    const std::int64_t fileBytes = file.size();
    std::uint32_t constant = 0;
    for (;;) {
        const std::uint8_t* const bytes = reader.at(offset, headerBytes);
        if (bytes == nullptr || isTag(bytes)) {
            walk.reachedTheEnd = true;
            return walk;
        }
        const std::uint32_t word = bigEndian(bytes);
        const Header header = parse(word);
        if (header.bytes == 0 || (walk.frames > 0 && (word & constantBits) != constant)) {
            return walk;
        }
        if (offset + header.bytes > fileBytes) {
            walk.reachedTheEnd = true;
            return walk;
        }
        constant = word & constantBits;
        walk.samplesPerFrame = header.samples;
        if (walk.frames % step == 0 && !handle(walk.frames, offset, header.bytes)) {
            walk.reachedTheEnd = true;
            return walk;
        }
        ++walk.frames;
        offset += header.bytes;
    }
}

} // namespace ambrel
