#include "platform/sound/file/AudioDecoder.h"

#include <algorithm>
#include <new>
#include <string>

extern "C" {
#include <libavutil/mathematics.h>
}

namespace ambrel {
namespace {

/// Consecutive unreadable packets before giving up the file.
constexpr int maximumReadErrors = 64;

/// Amount of a file read to detect its format.
constexpr std::int64_t probeBytes = 2'000'000;

/// Some formats (play lists) refer to other files; these are never opened.
int refuseOtherFiles(AVFormatContext*, AVIOContext** context, const char*, int, AVDictionary**) {
    *context = nullptr;
    return AVERROR(EPERM);
}

void check(int result, const RegularFile& file, const char* why) {
    if (result == AVERROR(ENOMEM)) {
        throw std::bad_alloc();
    }
    if (result < 0) {
        throw cannotOpen(file.path(), AudioFileError::Reason::unreadable, why);
    }
}

} // namespace

AudioDecoder::AudioDecoder(const RegularFile& file)
    : file_(file), limit_(file.size()), reader_(file), packet_(av_packet_alloc()),
      frame_(av_frame_alloc()) {
    if (packet_ == nullptr || frame_ == nullptr) {
        throw std::bad_alloc();
    }
    openContainer();
    openDecoder();
}

void AudioDecoder::openContainer() {
    // The file extension helps to distinguish similar formats.
    const std::string name = file_.path().filename().string();
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    context->pb = reader_.context();
    context->io_open = refuseOtherFiles;
    context->probesize = probeBytes;
    constexpr const char* unknown = "its format is not known";
    check(avformat_open_input(&context, name.c_str(), nullptr, nullptr), file_, unknown);
    container_.reset(context);
    check(avformat_find_stream_info(context, nullptr), file_, unknown);
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        AVStream* const stream = context->streams[i];
        if (stream_ == nullptr && stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            stream_ = stream;
        } else {
            stream->discard = AVDISCARD_ALL;
        }
    }
    if (stream_ == nullptr) {
        throw cannotOpen(file_.path(), AudioFileError::Reason::noAudio,
                         "no audio stream was found");
    }
}

void AudioDecoder::openDecoder() {
    const AVCodec* const codec = avcodec_find_decoder(stream_->codecpar->codec_id);
    if (codec == nullptr) {
        throw cannotOpen(file_.path(), AudioFileError::Reason::unreadable,
                         "there is no decoder for its sound");
    }
    decoder_.reset(avcodec_alloc_context3(codec));
    if (decoder_ == nullptr) {
        throw std::bad_alloc();
    }
    decoder_->thread_count = 1;
    constexpr const char* undecodable = "its sound cannot be decoded";
    check(avcodec_parameters_to_context(decoder_.get(), stream_->codecpar), file_, undecodable);
    // Otherwise the decoder keeps the stamp of a block whose start it trims.
    decoder_->pkt_timebase = stream_->time_base;
    check(avcodec_open2(decoder_.get(), codec, nullptr), file_, undecodable);
}

bool AudioDecoder::seek(std::int64_t stamp) {
    if (av_seek_frame(container_.get(), stream_->index, stamp, AVSEEK_FLAG_BACKWARD) < 0) {
        return false;
    }
    avcodec_flush_buffers(decoder_.get());
    landedAt_ = -1;
    draining_ = false;
    return true;
}

bool AudioDecoder::seekToStart() {
    return firstPacket_.offset >= 0 && firstPacket_.stamp != AV_NOPTS_VALUE &&
           seek(firstPacket_.stamp) && next() && landedAt_ == firstPacket_.offset;
}

void AudioDecoder::addSeekPoint(std::int64_t stamp, std::int64_t offset, int bytes) {
    av_add_index_entry(stream_, offset, stamp, bytes, 0, AVINDEX_KEYFRAME);
}

bool AudioDecoder::next() {
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

bool AudioDecoder::sendPacket() {
    while (!draining_) {
        if (!readPacket()) {
            draining_ = true;
            return avcodec_send_packet(decoder_.get(), nullptr) >= 0;
        }
        if (landedAt_ < 0) {
            landedAt_ = packet_->pos;
        }
        if (firstPacket_.offset < 0) {
            firstPacket_ = {packet_->pos, packet_->pts, packet_->duration};
        }
        // A packet that cannot be decoded is skipped, leaving a gap in the stamps.
        if (avcodec_send_packet(decoder_.get(), packet_.get()) >= 0) {
            return true;
        }
    }
    return false;
}

bool AudioDecoder::readPacket() {
    for (int errors = 0; errors < maximumReadErrors;) {
        av_packet_unref(packet_.get());
        const int result = av_read_frame(container_.get(), packet_.get());
        if (result == AVERROR_EOF) {
            return false;
        }
        if (result < 0) {
            ++errors;
        } else if (packet_->stream_index == stream_->index) {
            return true;
        }
    }
    return false;
}

std::int64_t AudioDecoder::scanToEnd(std::int64_t limit) {
    std::int64_t end = 0;
    std::int64_t counted = 0;
    while (std::max(end, counted) < limit && readPacket()) {
        counted = av_sat_add64(counted, packet_->duration);
        if (packet_->pts != AV_NOPTS_VALUE) {
            end = av_sat_add64(packet_->pts, packet_->duration);
        }
    }
    return std::max(end, counted);
}

} // namespace ambrel
