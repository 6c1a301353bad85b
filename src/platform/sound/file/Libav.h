#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include "platform/sound/file/LateFunction.h"

namespace ambrel {

// These two bring a hundred more libraries. Inside this namespace their functions are found here,
// and not where the headers above declare them.
inline constexpr const char* avformat = "libavformat.so." AV_STRINGIFY(LIBAVFORMAT_VERSION_MAJOR);
inline constexpr const char* avcodec = "libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR);
#define AMBREL_LATE(library, name)                                                                 \
    inline LateFunction<decltype(::name)> name {                                                   \
        library, #name                                                                             \
    }
AMBREL_LATE(avcodec, av_get_exact_bits_per_sample);
AMBREL_LATE(avcodec, av_packet_alloc);
AMBREL_LATE(avcodec, av_packet_free);
AMBREL_LATE(avcodec, av_packet_unref);
AMBREL_LATE(avcodec, avcodec_alloc_context3);
AMBREL_LATE(avcodec, avcodec_find_decoder);
AMBREL_LATE(avcodec, avcodec_flush_buffers);
AMBREL_LATE(avcodec, avcodec_free_context);
AMBREL_LATE(avcodec, avcodec_open2);
AMBREL_LATE(avcodec, avcodec_parameters_to_context);
AMBREL_LATE(avcodec, avcodec_receive_frame);
AMBREL_LATE(avcodec, avcodec_send_packet);
AMBREL_LATE(avformat, av_add_index_entry);
AMBREL_LATE(avformat, av_read_frame);
AMBREL_LATE(avformat, av_seek_frame);
AMBREL_LATE(avformat, avformat_alloc_context);
AMBREL_LATE(avformat, avformat_close_input);
AMBREL_LATE(avformat, avformat_find_stream_info);
AMBREL_LATE(avformat, avformat_open_input);
AMBREL_LATE(avformat, avio_alloc_context);
AMBREL_LATE(avformat, avio_context_free);
#undef AMBREL_LATE

namespace libav {

/// Smart pointers for objects of FFmpeg's libraries, freed with the library's own calls.
struct Free {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(SwrContext* context) const { swr_free(&context); }
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

template <typename T> using Owned = std::unique_ptr<T, Free>;

} // namespace libav

} // namespace ambrel
