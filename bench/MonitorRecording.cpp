#include "MonitorRecording.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace ambrel::bench {

namespace {

constexpr std::uint32_t frameBytes = 2 * sizeof(float);

/// At `seconds` by the clock, `frame` was heard, or arrived here.
struct Moment {
    double seconds;
    double frame;
};

double secondsOf(SoundClock::time_point when) {
    return std::chrono::duration<double>(when.time_since_epoch()).count();
}

double middle(std::vector<double> values) {
    std::ranges::sort(values);
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace

class MonitorRecording::Impl {
  public:
    Impl();
    ~Impl();

    /// The frame that was heard at 0 s by the clock, from all that was told: the sink plays by the
    /// same clock, so the line's slope is the rate.
    double origin() const;
    /// The same from each of these.
    std::vector<double> origins(const std::vector<Moment>& moments) const;

    mutable std::mutex mutex; ///< guards what follows
    std::vector<float> samples;
    std::vector<Moment> tellings; ///< of the server, what is heard
    std::vector<Moment> arrivals; ///< of the newest frame recorded

  private:
    void await(bool (*reached)(pa_context*, pa_stream*));
    static void read(pa_stream* stream, std::size_t bytes, void* self);
    static void told(pa_stream* stream, void* self);

    pa_threaded_mainloop* loop_ = pa_threaded_mainloop_new();
    pa_context* context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), "recording");
    pa_stream* stream_ = nullptr;
};

MonitorRecording::Impl::Impl() {
    const auto wake = [](auto*, void* loop) {
        pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(loop), 0);
    };
    pa_threaded_mainloop_start(loop_);
    pa_threaded_mainloop_lock(loop_);
    pa_context_set_state_callback(context_, wake, loop_);
    pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
    await([](pa_context* context, pa_stream*) {
        return pa_context_get_state(context) == PA_CONTEXT_READY;
    });
    const pa_sample_spec format = {PA_SAMPLE_FLOAT32LE, sampleRateHz, 2};
    stream_ = pa_stream_new(context_, "recording", &format, nullptr);
    pa_stream_set_state_callback(stream_, wake, loop_);
    pa_stream_set_read_callback(stream_, read, this);
    pa_stream_set_latency_update_callback(stream_, told, this);
    constexpr std::uint32_t unset = UINT32_MAX;
    const pa_buffer_attr buffer = {unset, unset, unset, unset, sampleRateHz / 100 * frameBytes};
    pa_stream_connect_record(
        stream_, "@DEFAULT_MONITOR@", &buffer,
        pa_stream_flags_t(PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_ADJUST_LATENCY));
    await([](pa_context*, pa_stream* stream) {
        return pa_stream_get_state(stream) == PA_STREAM_READY;
    });
    pa_threaded_mainloop_unlock(loop_);
}

MonitorRecording::Impl::~Impl() {
    pa_threaded_mainloop_stop(loop_);
    if (stream_) {
        pa_stream_disconnect(stream_);
        pa_stream_unref(stream_);
    }
    pa_context_disconnect(context_);
    pa_context_unref(context_);
    pa_threaded_mainloop_free(loop_);
}

void MonitorRecording::Impl::await(bool (*reached)(pa_context*, pa_stream*)) {
    while (!reached(context_, stream_)) {
        const bool failed = !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)) ||
                            (stream_ && !PA_STREAM_IS_GOOD(pa_stream_get_state(stream_)));
        if (failed) {
            pa_threaded_mainloop_unlock(loop_);
            throw std::runtime_error("the sound server's monitor cannot be recorded");
        }
        pa_threaded_mainloop_wait(loop_);
    }
}

void MonitorRecording::Impl::read(pa_stream* stream, std::size_t /*bytes*/, void* self) {
    auto& me = *static_cast<Impl*>(self);
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_readable_size(stream) > 0 && pa_stream_peek(stream, &data, &bytes) == 0) {
        {
            const std::scoped_lock lock(me.mutex);
            const std::size_t count = bytes / sizeof(float);
            const auto* first = static_cast<const float*>(data);
            if (first)
                me.samples.insert(me.samples.end(), first, first + count);
            else // a hole is as long as it says
                me.samples.insert(me.samples.end(), count, 0.0F);
            me.arrivals.push_back({secondsOf(SoundClock::now()), double(me.samples.size()) / 2});
        }
        pa_stream_drop(stream);
    }
}

void MonitorRecording::Impl::told(pa_stream* stream, void* self) {
    auto& me = *static_cast<Impl*>(self);
    pa_usec_t heard = 0;
    if (pa_stream_get_time(stream, &heard) != 0 || heard == 0)
        return;
    const std::scoped_lock lock(me.mutex);
    me.tellings.push_back({secondsOf(SoundClock::now()), double(heard) * 1e-6 * sampleRateHz});
}

std::vector<double> MonitorRecording::Impl::origins(const std::vector<Moment>& moments) const {
    const std::scoped_lock lock(mutex);
    std::vector<double> all;
    for (const Moment& moment : moments)
        all.push_back(moment.frame - moment.seconds * sampleRateHz);
    return all;
}

double MonitorRecording::Impl::origin() const {
    return middle(origins(tellings));
}

MonitorRecording::MonitorRecording() : impl_(std::make_unique<Impl>()) {}

MonitorRecording::~MonitorRecording() = default;

std::size_t MonitorRecording::frames() const {
    const std::scoped_lock lock(impl_->mutex);
    return impl_->samples.size() / 2;
}

std::vector<float> MonitorRecording::channel(int number, std::size_t from, std::size_t to) const {
    const std::scoped_lock lock(impl_->mutex);
    std::vector<float> mono;
    for (std::size_t frame = from; frame < to; ++frame)
        mono.push_back(impl_->samples.at(2 * frame + std::size_t(number)));
    return mono;
}

void MonitorRecording::waitFor(SoundClock::time_point when) const {
    while (double(frames()) <= frameAt(when))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

double MonitorRecording::frameAt(SoundClock::time_point when) const {
    return impl_->origin() + secondsOf(when) * sampleRateHz;
}

SoundClock::time_point MonitorRecording::when(double frame) const {
    const std::chrono::duration<double> seconds((frame - impl_->origin()) / sampleRateHz);
    return SoundClock::time_point(std::chrono::duration_cast<SoundClock::duration>(seconds));
}

double MonitorRecording::uncertaintyMs() const {
    const double origin = impl_->origin();
    std::vector<double> beside;
    for (const double offset : impl_->origins(impl_->tellings))
        beside.push_back(std::abs(offset - origin) * 1000 / sampleRateHz);
    std::ranges::sort(beside);
    return beside.empty() ? INFINITY : beside[beside.size() * 95 / 100];
}

double MonitorRecording::earlyMs() const {
    return (middle(impl_->origins(impl_->arrivals)) - impl_->origin()) * 1000 / sampleRateHz;
}

} // namespace ambrel::bench
