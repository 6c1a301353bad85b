#include "platform/sound/AudioTrack.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <string_view>

#include "platform/sound/Mp3Frames.h"

namespace ambrel {
namespace {

using Reason = AudioFileError::Reason;

/// Rates beyond these come out of damaged headers only.
constexpr int maximumSampleRate = 6'144'000;

/// Packets in a row that cannot be read before the file is given up.
constexpr int maximumReadErrors = 64;

/// What a decoder must be fed before its output no longer depends on where it started.
constexpr double preRollSeconds = 0.2;
constexpr double opusPreRollSeconds = 1.0;

/// How much of a file is read to find out what it holds.
constexpr std::int64_t probeBytes = 2'000'000;

/// A file may name others (play lists do); none of them is opened.
int refuseOtherFiles(AVFormatContext*, AVIOContext** context, const char*, int, AVDictionary**) {
    *context = nullptr;
    return AVERROR(EPERM);
}

} // namespace

AudioTrack::AudioTrack(const RegularFile& file)
    : file_(file), packet_(av_packet_alloc()), frame_(av_frame_alloc()) {
    if (packet_ == nullptr || frame_ == nullptr) {
        throw std::bad_alloc();
    }
    openContainer();
    openDecoder();
    decodeFirstBlock();
}

AudioTrack::~AudioTrack() = default;

void AudioTrack::openContainer() {
    decoder_.reset();
    container_.reset();
    reader_.emplace(file_);
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    context->pb = reader_->context();
    context->io_open = refuseOtherFiles;
    context->probesize = probeBytes;
    // The name helps to tell formats apart that look alike; only its ending is looked at.
    const std::string name = file_.path().filename().string();
    if (avformat_open_input(&context, name.c_str(), nullptr, nullptr) < 0) {
        throw cannotOpen(file_.path(), Reason::unreadable, "its format is not known");
    }
    container_.reset(context);
    if (avformat_find_stream_info(context, nullptr) < 0) {
        throw cannotOpen(file_.path(), Reason::unreadable, "its format is not known");
    }
    stream_ = nullptr;
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        AVStream* const stream = context->streams[i];
        if (stream_ == nullptr && stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            stream_ = stream;
        } else {
            stream->discard = AVDISCARD_ALL;
        }
    }
    if (stream_ == nullptr) {
        throw cannotOpen(file_.path(), Reason::noAudio, "no audio stream was found");
    }
}

void AudioTrack::openDecoder() {
    const AVCodec* const codec = avcodec_find_decoder(stream_->codecpar->codec_id);
    if (codec == nullptr) {
        throw cannotOpen(file_.path(), Reason::unreadable, "there is no decoder for its sound");
    }
    decoder_.reset(avcodec_alloc_context3(codec));
    if (decoder_ == nullptr) {
        throw std::bad_alloc();
    }
    decoder_->thread_count = 1;
    if (avcodec_parameters_to_context(decoder_.get(), stream_->codecpar) >= 0) {
        // Without it the decoder does not move the stamp of a block whose start it cuts off.
        decoder_->pkt_timebase = stream_->time_base;
        if (avcodec_open2(decoder_.get(), codec, nullptr) >= 0) {
            return;
        }
    }
    throw cannotOpen(file_.path(), Reason::unreadable, "its sound cannot be decoded");
}

void AudioTrack::decodeFirstBlock() {
    draining_ = false;
    deviation_ = 0;
    expected_ = 0;
    place_ = 0;
    if (!decodeBlock()) {
        throw cannotOpen(file_.path(), Reason::unreadable, "it holds no sound that can be decoded");
    }
    if (frame_->sample_rate < 1 || frame_->sample_rate > maximumSampleRate) {
        throw cannotOpen(file_.path(), Reason::unreadable, "its sample rate makes no sense");
    }
    sampleRate_ = frame_->sample_rate;
    channels_ = frame_->ch_layout.nb_channels;
    firstStamp_ = frame_->pts == AV_NOPTS_VALUE ? 0 : frame_->pts;
    firstBlockFrames_ = frame_->nb_samples;
    expected_ = firstBlockFrames_;
    fresh_ = true;
}

std::optional<std::int64_t> AudioTrack::statedLength() const {
    if (container_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        return std::nullopt;
    }
    if (stream_->duration != AV_NOPTS_VALUE && stream_->duration > 0) {
        return av_rescale_q(stream_->duration, stream_->time_base, {1, sampleRate_});
    }
    if (container_->duration != AV_NOPTS_VALUE && container_->duration > 0) {
        return av_rescale_q(container_->duration, AV_TIME_BASE_Q, {1, sampleRate_});
    }
    return std::nullopt;
}

std::int64_t AudioTrack::findEnd() {
    if (std::string_view(container_->iformat->name) != "mp3" || firstPacket_.offset < 0 ||
        firstPacket_.stamp == AV_NOPTS_VALUE) {
        const std::optional<std::int64_t> stated = statedLength();
        return stated ? *stated : scanToEnd();
    }
    // FFmpeg finds a place in an MP3 by reading every packet before it, unless it is told some.
    constexpr int step = 16;
    const Mp3Walk walk = walkMp3Frames(
        file_, firstPacket_.offset, step,
        [this](std::int64_t frame, std::int64_t offset, int bytes) {
            av_add_index_entry(stream_, offset, firstPacket_.stamp + frame * firstPacket_.ticks,
                               bytes, 0, AVINDEX_KEYFRAME);
        });
    return walk.reachedTheEnd ? walk.frames * walk.samplesPerFrame : scanToEnd();
}

bool AudioTrack::padsBeyondStatedLength() const {
    return std::string_view(container_->iformat->name).starts_with("mov");
}

bool AudioTrack::isVorbis() const {
    return stream_->codecpar->codec_id == AV_CODEC_ID_VORBIS;
}

bool AudioTrack::rewind() {
    try {
        if (!seekToFirstBlock()) {
            openContainer();
            openDecoder();
            decodeFirstBlock();
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void AudioTrack::restartDecoder() {
    avcodec_flush_buffers(decoder_.get());
    landedAt_ = -1;
    draining_ = false;
    fresh_ = false;
    expected_.reset();
    deviation_ = 0;
}

/// Saves opening the container again, which can take long and forgets where packets were found.
bool AudioTrack::seekToFirstBlock() {
    if (firstPacket_.offset < 0 || firstPacket_.stamp == AV_NOPTS_VALUE ||
        av_seek_frame(container_.get(), stream_->index, firstPacket_.stamp, AVSEEK_FLAG_BACKWARD) <
            0) {
        return false;
    }
    restartDecoder();
    // The packet counts as well as the block: one further on, the decoder would miss its overlap.
    if (!decodeBlock() || landedAt_ != firstPacket_.offset || frame_->pts != firstStamp_ ||
        frame_->nb_samples != firstBlockFrames_) {
        return false;
    }
    place_ = 0;
    expected_ = firstBlockFrames_;
    fresh_ = true;
    return true;
}

bool AudioTrack::seek(std::int64_t target) {
    const bool opus = stream_->codecpar->codec_id == AV_CODEC_ID_OPUS;
    double preRoll = (opus ? opusPreRollSeconds : preRollSeconds) * sampleRate_;
    for (int attempt = 0; attempt < 4 && static_cast<double>(target) > preRoll; ++attempt) {
        const auto from = target - static_cast<std::int64_t>(preRoll);
        if (av_seek_frame(container_.get(), stream_->index, firstStamp_ + ticksOf(from),
                          AVSEEK_FLAG_BACKWARD) < 0) {
            return false;
        }
        restartDecoder();
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

/// The stamp of a Vorbis block between a long and a short one is wrong by up to a block, and the
/// block's neighbours are right: goes on to a block whose stamp is where the one before it ended.
bool AudioTrack::settle() {
    if (!isVorbis()) {
        return true;
    }
    constexpr int enoughBlocks = 256;
    std::optional<std::int64_t> stamped;
    for (int i = 0; i < enoughBlocks && (!stamped || stamped != expected_); ++i) {
        expected_ = place_ + frame_->nb_samples;
        if (!decodeBlock()) {
            return false;
        }
        stamped = stampedPlace();
        place_ = stamped.value_or(*expected_);
    }
    expected_ = place_ + frame_->nb_samples;
    return true;
}

bool AudioTrack::next() {
    if (fresh_) {
        fresh_ = false;
        return true;
    }
    while (decodeBlock()) {
        placeBlock();
        if (expected_) {
            return true;
        }
    }
    return false;
}

bool AudioTrack::decodeBlock() {
    for (;;) {
        const int result = avcodec_receive_frame(decoder_.get(), frame_.get());
        if (result >= 0 && frame_->nb_samples > 0) {
            return true;
        }
        if (result == AVERROR_EOF || (result == AVERROR(EAGAIN) && !sendPacket())) {
            return false;
        }
    }
}

bool AudioTrack::sendPacket() {
    int errors = 0;
    while (!draining_) {
        const int result = av_read_frame(container_.get(), packet_.get());
        if (result == AVERROR_EOF || (result < 0 && ++errors > maximumReadErrors)) {
            draining_ = true;
            return avcodec_send_packet(decoder_.get(), nullptr) >= 0;
        }
        if (result < 0) {
            continue;
        }
        const bool ours = packet_->stream_index == stream_->index;
        if (ours && landedAt_ < 0) {
            landedAt_ = packet_->pos;
        }
        if (ours && firstPacket_.offset < 0) {
            firstPacket_ = {packet_->pos, packet_->pts, packet_->duration};
        }
        const int sent = ours ? avcodec_send_packet(decoder_.get(), packet_.get()) : -1;
        av_packet_unref(packet_.get());
        if (sent >= 0) {
            return true;
        }
        // A packet that is no sound is left out; its stamp leaves a hole, which reads as silence.
    }
    return false;
}

std::optional<std::int64_t> AudioTrack::stampedPlace() const {
    if (frame_->pts == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    const std::int64_t place = framesOf(frame_->pts - firstStamp_);
    const AVRational tick = stream_->time_base;
    const bool coarse = static_cast<std::int64_t>(tick.num) * sampleRate_ > tick.den;
    const int blockFrames = stream_->codecpar->frame_size;
    if (!coarse || blockFrames <= 1) {
        return place;
    }
    // Stamps coarser than a frame: blocks of one length can only begin on their own grid.
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
    expected_ = place_ + frame_->nb_samples;
}

/// Stamps decide where a seek came out and where blocks are missing; in between, frames are
/// counted, because stamps wander and frames do not.
bool AudioTrack::isHole(std::int64_t deviation) {
    const bool repeated = deviation == deviation_;
    deviation_ = deviation;
    // A single stamp may be far off in Vorbis, but not two in a row by as much.
    return isVorbis() ? deviation > 0 && repeated
                      : deviation >= std::max(1, frame_->nb_samples / 2);
}

std::int64_t AudioTrack::scanToEnd() {
    std::int64_t end = 0;
    std::int64_t counted = 0;
    int errors = 0;
    for (;;) {
        const int result = av_read_frame(container_.get(), packet_.get());
        if (result == AVERROR_EOF || (result < 0 && ++errors > maximumReadErrors)) {
            return std::max(framesOf(end), framesOf(counted));
        }
        if (result < 0) {
            continue;
        }
        if (packet_->stream_index == stream_->index) {
            counted += packet_->duration;
            if (packet_->pts != AV_NOPTS_VALUE) {
                end = packet_->pts + packet_->duration - firstStamp_;
            }
        }
        av_packet_unref(packet_.get());
    }
}

std::int64_t AudioTrack::framesOf(std::int64_t ticks) const {
    return av_rescale_q(ticks, stream_->time_base, {1, sampleRate_});
}

std::int64_t AudioTrack::ticksOf(std::int64_t frames) const {
    return av_rescale_q_rnd(frames, {1, sampleRate_}, stream_->time_base, AV_ROUND_DOWN);
}

} // namespace ambrel
