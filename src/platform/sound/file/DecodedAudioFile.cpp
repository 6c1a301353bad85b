#include "platform/sound/file/DecodedAudioFile.h"

#include <algorithm>

namespace ambrel {
namespace {

/// Shorter gaps are decoded through: cheaper than a seek with pre-roll.
constexpr double decodeAcrossSeconds = 0.5;

/// The real end is looked for by decoding from this long before the stated one, for at most the
/// second time.
constexpr double endProbeSeconds = 0.3;
constexpr double endProbeLimitSeconds = 4.0;

} // namespace

DecodedAudioFile::DecodedAudioFile(const std::filesystem::path& path, Layout layout)
    : file_(path), track_(file_), converter_(layout, track_.sampleRate()),
      channels_(track_.channels()), length_(0) {
    length_ = findLength();
    if (length_ < 1) {
        throw cannotOpen(path, AudioFileError::Reason::unreadable,
                         "it holds no sound that can be decoded");
    }
    seek(0);
}

bool DecodedAudioFile::nextBlock() {
    const std::int64_t reached = blockStart_ + blockFrames_;
    const bool continues = !lost_;
    blockFrames_ = 0;
    lost_ = true;
    if (!track_.next()) {
        return false;
    }
    blockStart_ = track_.place();
    gapStart_ = continues ? std::min(reached, blockStart_) : blockStart_;
    blockFrames_ = converter_.prepare(track_.block());
    track_.setBlockFrames(blockFrames_);
    lost_ = false;
    return true;
}

bool DecodedAudioFile::seek(std::int64_t place) {
    blockFrames_ = 0;
    lost_ = !track_.seek(place);
    gapStart_ = blockStart_ = track_.place();
    return !lost_;
}

bool DecodedAudioFile::goTo(std::int64_t place) {
    const auto across = static_cast<std::int64_t>(decodeAcrossSeconds * sampleRate());
    const std::int64_t reached = blockStart_ + blockFrames_;
    const bool near = !lost_ && place >= gapStart_ && place <= reached + across;
    return near || seek(place);
}

/// Goes to the block that holds the frame, or follows it.
bool DecodedAudioFile::reach(std::int64_t place) {
    bool there = goTo(place);
    while (there && (blockFrames_ == 0 || place >= blockStart_ + blockFrames_)) {
        there = nextBlock();
    }
    return there;
}

std::int64_t DecodedAudioFile::afterGap(std::int64_t first) noexcept {
    if (first < 0 || first >= length_) {
        return first;
    }
    try {
        return reach(first) ? std::clamp(blockStart_, first, length_) : first;
    } catch (const std::exception&) {
        lost_ = true;
        return first;
    }
}

std::size_t DecodedAudioFile::read(std::int64_t first, std::span<float> out) noexcept {
    if (first < 0 || first >= length_) {
        return 0;
    }
    const auto room = static_cast<std::int64_t>(out.size()) / samplesPerFrame();
    try {
        return readFrames(first, std::min(room, length_ - first), out.data());
    } catch (const std::exception&) {
        lost_ = true;
        return 0;
    }
}

std::int64_t DecodedAudioFile::readFrames(std::int64_t first, std::int64_t count, float* out) {
    std::int64_t done = 0;
    while (done < count && reach(first + done)) {
        const std::int64_t at = first + done;
        float* const target = out + done * samplesPerFrame();
        if (at < blockStart_) {
            const std::int64_t silent = std::min(blockStart_ - at, count - done);
            std::fill_n(target, silent * samplesPerFrame(), 0.0F);
            done += silent;
            continue;
        }
        const std::int64_t some = std::min(blockStart_ + blockFrames_ - at, count - done);
        if (!converter_.write(track_.block(), at - blockStart_, some, target)) {
            break;
        }
        done += some;
    }
    return done;
}

std::int64_t DecodedAudioFile::findLength() {
    const std::optional<std::int64_t> stated = track_.statedLength();
    const std::int64_t assumed = track_.findEnd();
    const auto margin = static_cast<std::int64_t>(endProbeSeconds * sampleRate());
    const Ending ending = decodeToEnd(std::max<std::int64_t>(0, assumed - margin));
    std::int64_t length = ending.end;
    if (!ending.ended) {
        length = searchEnd(ending.decoded ? ending.end : 0, assumed);
    }
    return stated && track_.padsBeyondStatedLength() ? std::min(length, *stated) : length;
}

std::int64_t DecodedAudioFile::searchEnd(std::int64_t known, std::int64_t stated) {
    std::int64_t beyond = stated;
    while (beyond - known > sampleRate()) {
        const std::int64_t middle = known + (beyond - known) / 2;
        const Ending ending = decodeToEnd(middle);
        if (ending.ended) {
            return ending.end;
        }
        if (ending.decoded && ending.end > known) {
            known = ending.end;
        } else {
            beyond = middle;
        }
    }
    const Ending ending = decodeToEnd(std::max<std::int64_t>(0, known - sampleRate()));
    return std::max(known, ending.end);
}

DecodedAudioFile::Ending DecodedAudioFile::decodeToEnd(std::int64_t from) {
    Ending ending{false, false, 0};
    if (!seek(from)) {
        return ending;
    }
    const auto limit = static_cast<std::int64_t>(endProbeLimitSeconds * sampleRate());
    while (nextBlock()) {
        ending.decoded = true;
        ending.end = blockStart_ + blockFrames_;
        if (ending.end > from + limit) {
            return ending;
        }
    }
    ending.ended = ending.decoded;
    return ending;
}

} // namespace ambrel
