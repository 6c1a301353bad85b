#include "platform/sound/file/SampleConverter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace ambrel {
namespace {

/// The most channels that swresample mixes.
constexpr int mostMixed = 64;

/// Twice the longest frame of any codec, and far too little to exhaust memory.
constexpr int maximumBlockFrames = 1 << 24;

/// FLAC's longest frame, 64 times as long: damage makes a block's rate any fraction of the track's.
constexpr int maximumResampledFrames = 1 << 22;

std::uint64_t maskOf(const AVChannelLayout& layout) {
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

/// The most likely layout of a file that does not state one.
AVChannelLayout layoutOf(int channels, std::uint64_t mask) {
    AVChannelLayout layout{};
    if (mask != 0) {
        av_channel_layout_from_mask(&layout, mask);
    } else if (channels == 3) {
        // FFmpeg's default is 2.1, whose third channel would not be heard.
        layout.order = AV_CHANNEL_ORDER_UNSPEC;
        layout.nb_channels = channels;
    } else {
        av_channel_layout_default(&layout, channels);
    }
    return layout;
}

/// Float samples may hold anything. NaN, infinity and levels that can only be damage would spoil
/// all later processing; they become silence.
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

/// Gain of each channel: `mostMixed` numbers for each side. Sums above 1 are scaled down, so that
/// the mix never clips. Channels of unknown position go to both sides.
std::vector<double> weights(const AVChannelLayout& from, const AVChannelLayout& to) {
    const int channels = from.nb_channels;
    // swresample scales a matrix of this size, however few the channels.
    const std::size_t size = std::size_t{mostMixed} * mostMixed;
    const std::vector<double> mean(size, 1.0 / channels);
    std::vector<double> placed(size);
    constexpr double half = std::numbers::sqrt2 / 2; // of the power
    if (channels == 1 || to.nb_channels == 1 ||
        swr_build_matrix2(&from, &to, half, half, 0, 1, 1, placed.data(), mostMixed,
                          AV_MATRIX_ENCODING_NONE, nullptr) < 0) {
        return mean;
    }
    for (int i = 0; i < channels; ++i) {
        const bool isHeard = placed[i] > 0 || placed[mostMixed + i] > 0;
        if (!isHeard && av_channel_layout_channel_from_index(&from, i) != AV_CHAN_LOW_FREQUENCY) {
            return mean;
        }
    }
    return placed;
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
    if (block.ch_layout.nb_channels < 1 || block.nb_samples < 0 ||
        block.nb_samples > maximumBlockFrames || block.sample_rate < 1) {
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
    check(room <= maximumResampledFrames ? room : -1);
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
    const auto format = static_cast<AVSampleFormat>(format_);
    const int planes = av_sample_fmt_is_planar(format) != 0 ? channels_ : 1;
    const std::int64_t skip = first * av_get_bytes_per_sample(format) * (channels_ / planes);
    planes_.assign(block.extended_data, block.extended_data + planes);
    for (const std::uint8_t*& plane : planes_) {
        plane += skip;
    }
    if (channels_ > mostMixed ? !writeMean(count, out) : !convert(planes_.data(), count, out)) {
        return false;
    }
    if (isFloat(format_)) {
        silenceDamage(out, count * samplesPerFrame_);
    }
    return true;
}

bool SampleConverter::convert(const std::uint8_t** in, std::int64_t count, float* out) {
    auto* target = reinterpret_cast<std::uint8_t*>(out);
    const auto frames = static_cast<int>(count);
    return swr_convert(swr_.get(), &target, frames, in, frames) == frames;
}

/// Converts each plane as if it were a single channel.
bool SampleConverter::writeMean(std::int64_t count, float* out) {
    const auto planes = static_cast<std::int64_t>(planes_.size());
    const std::int64_t samples = count * channels_ / planes;
    unmixed_.resize(static_cast<std::size_t>(count * channels_));
    for (std::int64_t plane = 0; plane < planes; ++plane) {
        if (!convert(&planes_[plane], samples, unmixed_.data() + plane * samples)) {
            return false;
        }
    }
    const std::int64_t step = planes > 1 ? count : 1; // between two channels of a frame
    for (std::int64_t frame = 0; frame < count; ++frame) {
        const float* sample = unmixed_.data() + (planes > 1 ? frame : frame * channels_);
        float sum = 0.0F;
        for (int channel = 0; channel < channels_; ++channel) {
            sum += sample[channel * step];
        }
        std::fill_n(out + frame * samplesPerFrame_, samplesPerFrame_, sum / channels_);
    }
    return true;
}

void SampleConverter::configure(const AVFrame& block) {
    swr_.reset();
    format_ = block.format;
    channels_ = block.ch_layout.nb_channels;
    blockRate_ = block.sample_rate;
    channelMask_ = maskOf(block.ch_layout);
    const bool isOneByOne = channels_ > mostMixed;
    if (isOneByOne && blockRate_ != sampleRate_) {
        throw std::runtime_error("its samples cannot be converted");
    }
    const bool isMixed = !isOneByOne && channels_ != samplesPerFrame_;
    AVChannelLayout to{};
    av_channel_layout_default(&to, isOneByOne ? 1 : samplesPerFrame_);
    AVChannelLayout from = isMixed ? layoutOf(channels_, channelMask_) : to;
    SwrContext* context = nullptr;
    check(swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_FLT, sampleRate_, &from,
                              static_cast<AVSampleFormat>(format_), blockRate_, 0, nullptr));
    libav::Owned<SwrContext> swr(context);
    if (isMixed) {
        av_opt_set_sample_fmt(context, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
        check(swr_set_matrix(context, weights(from, to).data(), mostMixed));
    }
    check(swr_init(context));
    swr_ = std::move(swr);
}

} // namespace ambrel
