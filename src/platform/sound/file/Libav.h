#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

namespace ambrel::libav {

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

} // namespace ambrel::libav
