#include "platform/sound/file/AudioTrack.h"

#include <algorithm>
#include <cmath>
#include <string_view>

extern "C" {
#include <libavutil/mathematics.h>
}

#include "platform/sound/file/Mp3Frames.h"

namespace ambrel {
namespace {

/// Only damaged headers give rates beyond these.
constexpr int maximumSampleRate = 6'144'000;

/// Pre-roll after which a decoder's output no longer depends on where it started.
constexpr double preRollSeconds = 0.2;
constexpr double opusPreRollSeconds = 1.0;

/// Where counting packets stops: longer files are not played, so their exact length does not
/// matter.
constexpr std::int64_t longestCountSeconds = 60'001;

/// Only damaged stamps give positions beyond this (thousands of years).
constexpr std::int64_t furthestPlace = std::int64_t{1} << 50;

} // namespace

AudioTrack::AudioTrack(const RegularFile& file) : file_(file) {
    open();
    sampleRate_ = block().sample_rate;
    channels_ = block().ch_layout.nb_channels;
}

void AudioTrack::open() {
    const RegularFile::Version version = file_.version();
    auto decoder = std::make_unique<AudioDecoder>(file_);
    if (!decoder->next()) {
        throw cannotOpen(file_.path(), AudioFileError::Reason::unreadable,
                         "it holds no sound that can be decoded");
    }
    const AVFrame& first = decoder->block();
    if (first.sample_rate < 1 || first.sample_rate > maximumSampleRate) {
        throw cannotOpen(file_.path(), AudioFileError::Reason::unreadable,
                         "its sample rate makes no sense");
    }
    firstStamp_ = first.pts == AV_NOPTS_VALUE ? 0 : first.pts;
    firstBlockFrames_ = first.nb_samples;
    decoder_ = std::move(decoder);
    opened_ = version;
    standAtStart();
}

bool AudioTrack::reopen() noexcept {
    try {
        open();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void AudioTrack::standAtStart() {
    place_ = 0;
    expected_ = firstBlockFrames_;
    deviation_ = 0;
    fresh_ = true;
}

std::optional<std::int64_t> AudioTrack::statedLength() const {
    const AVFormatContext& container = decoder_->container();
    const AVStream& stream = decoder_->stream();
    std::int64_t length = 0;
    if (container.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        return std::nullopt;
    }
    if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0) {
        length = framesOf(stream.duration);
    } else if (container.duration != AV_NOPTS_VALUE && container.duration > 0) {
        length = av_rescale_q(container.duration, AV_TIME_BASE_Q, {1, sampleRate_});
    }
    return length > 0 && length < furthestPlace ? std::optional(length) : std::nullopt;
}

std::int64_t AudioTrack::findEnd() {
    const AudioDecoder::Packet& first = decoder_->firstPacket();
    if (std::string_view(decoder_->container().iformat->name) != "mp3" || first.offset < 0 ||
        first.stamp == AV_NOPTS_VALUE) {
        const std::optional<std::int64_t> stated = statedLength();
        return stated ? *stated : scannedLength();
    }
    // Without an index, FFmpeg seeks in an MP3 by reading every packet before the target.
    constexpr int step = 16;
    const Mp3Walk walk = walkMp3Frames(
        file_, first.offset, step, [&](std::int64_t frame, std::int64_t offset, int bytes) {
            decoder_->addSeekPoint(first.stamp + frame * first.ticks, offset, bytes);
            return framesOf(frame * first.ticks) < longestCount();
        });
    return walk.reachedTheEnd ? walk.frames * walk.samplesPerFrame : scannedLength();
}

std::int64_t AudioTrack::longestCount() const {
    return longestCountSeconds * sampleRate_;
}

std::int64_t AudioTrack::scannedLength() {
    if (const std::optional<std::int64_t> frames = framesUpToTheEndOfAWav()) {
        return *frames;
    }
    const std::int64_t limit = av_sat_add64(firstStamp_, ticksOf(longestCount()));
    const std::int64_t end = decoder_->scanToEnd(limit);
    return std::clamp<std::int64_t>(framesOf(av_sat_sub64(end, firstStamp_)), 0, furthestPlace);
}

/// If the writer of a WAV could not record its length, the samples extend to the end of the file.
std::optional<std::int64_t> AudioTrack::framesUpToTheEndOfAWav() const {
    const AVCodecParameters& codec = *decoder_->stream().codecpar;
    const std::int64_t start = decoder_->firstPacket().offset;
    if (std::string_view(decoder_->container().iformat->name) != "wav" || start < 0 ||
        av_get_exact_bits_per_sample(codec.codec_id) < 1 || codec.block_align < 1) {
        return std::nullopt;
    }
    return (file_.size() - start) / codec.block_align;
}

bool AudioTrack::padsBeyondStatedLength() const {
    return std::string_view(decoder_->container().iformat->name).starts_with("mov");
}

bool AudioTrack::isVorbis() const {
    return decoder_->stream().codecpar->codec_id == AV_CODEC_ID_VORBIS;
}

bool AudioTrack::rewind() {
    // Avoids reopening the container, which can take long and loses the seek index.
    if (decoder_->seekToStart() && block().pts == firstStamp_ &&
        block().nb_samples == firstBlockFrames_) {
        standAtStart();
        return true;
    }
    return reopen();
}

bool AudioTrack::seek(std::int64_t target) {
    if (file_.version() != opened_) {
        reopen();
    }
    const bool opus = decoder_->stream().codecpar->codec_id == AV_CODEC_ID_OPUS;
    double preRoll = (opus ? opusPreRollSeconds : preRollSeconds) * sampleRate_;
    for (int attempt = 0; attempt < 4 && static_cast<double>(target) > preRoll; ++attempt) {
        const auto from = target - static_cast<std::int64_t>(preRoll);
        if (!decoder_->seek(av_sat_add64(firstStamp_, ticksOf(from)))) {
            return false;
        }
        fresh_ = false;
        expected_.reset();
        deviation_ = 0;
        if (!next() || !settle()) {
            return false;
        }
        fresh_ = true;
        if (place_ <= from) {
            return true;
        }
        preRoll *= 4;
    }
    return rewind();
}

/// The stamp of a Vorbis block between a long and a short one is wrong by up to a block; its
/// neighbours' are right. Continues to a block whose stamp is where the previous one ended.
bool AudioTrack::settle() {
    if (!isVorbis()) {
        return true;
    }
    constexpr int enoughBlocks = 256;
    std::optional<std::int64_t> stamped;
    for (int i = 0; i < enoughBlocks && (!stamped || stamped != expected_); ++i) {
        expected_ = place_ + block().nb_samples;
        if (!decoder_->next()) {
            return false;
        }
        stamped = stampedPlace();
        place_ = stamped.value_or(*expected_);
    }
    expected_ = place_ + block().nb_samples;
    return true;
}

bool AudioTrack::next() {
    if (fresh_) {
        fresh_ = false;
        return true;
    }
    while (decoder_->next()) {
        placeBlock();
        if (expected_) {
            return true;
        }
    }
    return false;
}

std::optional<std::int64_t> AudioTrack::stampedPlace() const {
    if (block().pts == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    const std::int64_t place = framesOf(av_sat_sub64(block().pts, firstStamp_));
    if (place < -furthestPlace || place > furthestPlace) {
        return std::nullopt;
    }
    const AVRational tick = decoder_->stream().time_base;
    const bool coarse = static_cast<std::int64_t>(tick.num) * sampleRate_ > tick.den;
    const int blockFrames = decoder_->stream().codecpar->frame_size;
    if (!coarse || blockFrames <= 1) {
        return place;
    }
    // For stamps coarser than a frame: blocks of one length can only start on their own grid.
    const double blocks = static_cast<double>(place - firstBlockFrames_) / blockFrames;
    return firstBlockFrames_ + std::llround(blocks) * blockFrames;
}

void AudioTrack::placeBlock() {
    const std::optional<std::int64_t> stamped = stampedPlace();
    if (!stamped && !expected_) {
        return;
    }
    if (!expected_ || (stamped && isHole(*stamped - *expected_))) {
        expected_ = stamped;
    }
    place_ = *expected_;
    expected_ = place_ + block().nb_samples;
}

/// Stamps determine where a seek has landed and where blocks are missing. In between frames are
/// counted, because stamps are imprecise.
bool AudioTrack::isHole(std::int64_t deviation) {
    const bool repeated = deviation == deviation_;
    deviation_ = deviation;
    // In Vorbis a single stamp may be far off, but not two in a row by the same amount.
    return isVorbis() ? deviation > 0 && repeated
                      : deviation >= std::max(1, block().nb_samples / 2);
}

std::int64_t AudioTrack::framesOf(std::int64_t ticks) const {
    return av_rescale_q(ticks, decoder_->stream().time_base, {1, sampleRate_});
}

std::int64_t AudioTrack::ticksOf(std::int64_t frames) const {
    return av_rescale_q_rnd(frames, {1, sampleRate_}, decoder_->stream().time_base, AV_ROUND_DOWN);
}

} // namespace ambrel
