#include "platform/sound/device/CubebStream.h"

#include <algorithm>

#include "platform/sound/thread/SoundPriority.h"

namespace ambrel {

namespace {

/// Less runs dry on a busy machine, at any sample rate.
constexpr std::uint32_t smallestLatencyMs = 25;
constexpr std::uint32_t smallestLatencyFrames = 1'200;

cubeb_stream_params parameters(int sampleRateHz) {
    return {CUBEB_SAMPLE_FLOAT32NE, static_cast<std::uint32_t>(sampleRateHz), 2,
            CUBEB_LAYOUT_STEREO, CUBEB_STREAM_PREF_NONE};
}

long fill(cubeb_stream* /*stream*/, void* client, const void* /*input*/, void* output,
          long frames) {
    // Once per thread: each stream may have its own.
    thread_local const bool raised = [] {
        raiseSoundPriority(SoundUrgency::onDemand);
        return true;
    }();
    static_cast<void>(raised);
    auto& callback = *static_cast<DeviceCallback*>(client);
    callback.fill(static_cast<float*>(output), static_cast<std::size_t>(frames));
    return callback.isLost() ? 0 : frames; // the stream ends, and its thread rests
}

void stateChanged(cubeb_stream* /*stream*/, void* client, cubeb_state state) {
    if (state == CUBEB_STATE_ERROR) {
        static_cast<DeviceCallback*>(client)->lose();
    }
}

} // namespace

CubebStream::CubebStream(const CubebContext& context, int sampleRateHz, DeviceCallback& callback) {
    cubeb_stream_params wanted = parameters(sampleRateHz);
    cubeb_stream* stream = nullptr;
    const int result =
        cubeb_stream_init(context.get(), &stream, "Playback", nullptr, nullptr, nullptr, &wanted,
                          latencyFrames(context, sampleRateHz), fill, stateChanged, &callback);
    if (result != CUBEB_OK) {
        throw DeviceError("the default device does not open");
    }
    stream_.reset(stream);
    if (cubeb_stream_start(stream) != CUBEB_OK) {
        throw DeviceError("the default device does not start");
    }
}

void CubebStream::setTitle(const std::string& title) {
    title_ = title;
    cubeb_stream_set_name(stream_.get(), title_.c_str());
}

std::optional<std::uint64_t> CubebStream::position() const {
    std::uint64_t frames = 0;
    if (cubeb_stream_get_position(stream_.get(), &frames) != CUBEB_OK) {
        return std::nullopt;
    }
    return frames;
}

std::uint32_t CubebStream::latencyFrames(const CubebContext& context, int sampleRateHz) {
    cubeb_stream_params wanted = parameters(sampleRateHz);
    std::uint32_t least = 0;
    if (cubeb_get_min_latency(context.get(), &wanted, &least) != CUBEB_OK) {
        least = 0;
    }
    const auto rate = static_cast<std::uint32_t>(sampleRateHz);
    return std::max({least, smallestLatencyFrames, rate * smallestLatencyMs / 1000});
}

} // namespace ambrel
