#include "platform/sound/SampleConverter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace ambrel {
namespace {

/// The most channels that swresample mixes.
constexpr int maximumChannels = 64;

/// Twice the longest frame of any codec, and far from what would exhaust memory.
constexpr int maximumBlockFrames = 1 << 24;

std::uint64_t maskOf(const AVChannelLayout& layout) {
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

/// Samples of float formats may hold anything. What is no number, or so loud that it can only be
/// damage, would spoil everything it is added to from here to the loudspeaker: it becomes silence.
void silenceDamage(float* samples, std::int64_t count) {
    constexpr float loudest = 65536.0F;
    for (std::int64_t i = 0; i < count; ++i) {
        samples[i] = std::fabs(samples[i]) <= loudest ? samples[i] : 0.0F;
    }
}

bool isFloat(int format) {
    switch (format) {
    case AV_SAMPLE_FMT_FLT:
    case AV_SAMPLE_FMT_FLTP:
    case AV_SAMPLE_FMT_DBL:
    case AV_SAMPLE_FMT_DBLP:
        return true;
    default:
        return false;
    }
}

void check(int result) {
    if (result < 0) {
        throw std::runtime_error("its samples cannot be converted");
    }
}

} // namespace

SampleConverter::SampleConverter(AudioFile::Layout layout, int sampleRate)
    : layout_(layout), sampleRate_(sampleRate),
      samplesPerFrame_(layout == AudioFile::Layout::stereo ? 2 : 1) {}

std::int64_t SampleConverter::prepare(const AVFrame& block) {
    if (block.ch_layout.nb_channels < 1 || block.ch_layout.nb_channels > maximumChannels ||
        block.nb_samples < 0 || block.nb_samples > maximumBlockFrames || block.sample_rate < 1) {
        throw std::runtime_error("its samples cannot be converted");
    }
    if (swr_ == nullptr || block.format != format_ || block.sample_rate != blockRate_ ||
        block.ch_layout.nb_channels != channels_ || maskOf(block.ch_layout) != channelMask_) {
        configure(block);
    }
    if (blockRate_ == sampleRate_) {
        return block.nb_samples;
    }
    const int room = swr_get_out_samples(swr_.get(), block.nb_samples);
    check(room);
    resampled_.resize(static_cast<std::size_t>(room) * samplesPerFrame_);
    auto* out = reinterpret_cast<std::uint8_t*>(resampled_.data());
    const int made =
        swr_convert(swr_.get(), &out, room, const_cast<const std::uint8_t**>(block.extended_data),
                    block.nb_samples);
    check(made);
    silenceDamage(resampled_.data(), std::int64_t{made} * samplesPerFrame_);
    return made;
}

bool SampleConverter::write(const AVFrame& block, std::int64_t first, std::int64_t count,
                            float* out) {
    if (blockRate_ != sampleRate_) {
        const auto* from = resampled_.data() + first * samplesPerFrame_;
        std::copy(from, from + count * samplesPerFrame_, out);
        return true;
    }
    std::array<const std::uint8_t*, maximumChannels> in{};
    const bool planar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(format_)) != 0;
    const int bytes = av_get_bytes_per_sample(static_cast<AVSampleFormat>(format_));
    const int planes = planar ? channels_ : 1;
    const std::int64_t skip = first * bytes * (planar ? 1 : channels_);
    for (int plane = 0; plane < planes; ++plane) {
        in[plane] = block.extended_data[plane] + skip;
    }
    auto* target = reinterpret_cast<std::uint8_t*>(out);
    if (swr_convert(swr_.get(), &target, static_cast<int>(count), in.data(),
                    static_cast<int>(count)) != count) {
        return false;
    }
    if (isFloat(format_)) {
        silenceDamage(out, count * samplesPerFrame_);
    }
    return true;
}

void SampleConverter::configure(const AVFrame& block) {
    swr_.reset();
    format_ = block.format;
    channels_ = block.ch_layout.nb_channels;
    blockRate_ = block.sample_rate;
    channelMask_ = maskOf(block.ch_layout);

    const bool asItIs = channels_ == samplesPerFrame_;
    const bool meant = samplesPerFrame_ == 1 || channels_ == 1;
    // Channels without a known place go to both sides.
    if (!initialise(asItIs  ? Mix::none
                    : meant ? Mix::mean
                            : Mix::standard) &&
        !initialise(Mix::mean)) {
        swr_.reset();
        throw std::runtime_error("its samples cannot be converted");
    }
}

bool SampleConverter::initialise(Mix mix) {
    AVChannelLayout from{};
    if (channelMask_ == 0 || av_channel_layout_from_mask(&from, channelMask_) < 0) {
        av_channel_layout_default(&from, channels_);
    }
    AVChannelLayout to{};
    av_channel_layout_default(&to, samplesPerFrame_);
    SwrContext* swr = nullptr;
    if (swr_alloc_set_opts2(&swr, &to, AV_SAMPLE_FMT_FLT, sampleRate_, &from,
                            static_cast<AVSampleFormat>(format_), blockRate_, 0, nullptr) < 0) {
        return false;
    }
    swr_.reset(swr);
    if (mix != Mix::none) {
        av_opt_set_sample_fmt(swr, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
        // Sums of weights above 1 are scaled down, so that the mix never clips.
        av_opt_set_double(swr, "rematrix_maxval", 1.0, 0);
    }
    if (mix == Mix::mean) {
        const std::vector<double> matrix(static_cast<std::size_t>(samplesPerFrame_) * channels_,
                                         1.0 / channels_);
        if (swr_set_matrix(swr, matrix.data(), channels_) < 0) {
            return false;
        }
    }
    return swr_init(swr) >= 0;
}

} // namespace ambrel
