#include "platform/sound/Resampler.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <soxr.h>

namespace ambrel {

namespace {
/// Frames taken from the source at a time: few, so that the first frames come out early.
constexpr std::size_t inputFrames = 1024;
} // namespace

Resampler::Resampler(int fromHz, int toHz, Source source) : source_(std::move(source)) {
    if (fromHz == toHz)
        return;
    input_.resize(inputFrames * 2);
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    converter_ = soxr_create(fromHz, toHz, 2, &error, &io, &quality, &runtime);
    if (error)
        throw std::runtime_error(error);
    soxr_set_input_fn(converter_, &Resampler::pull, this, inputFrames);
}

Resampler::~Resampler() {
    soxr_delete(converter_);
}

std::size_t Resampler::pull(void* self, const void** data, std::size_t frames) {
    auto& me = *static_cast<Resampler*>(self);
    *data = me.input_.data();
    try {
        return me.source_(me.input_.data(), std::min(frames, inputFrames));
    } catch (...) {
        me.thrown_ = std::current_exception(); // a library in C does not let it through
        return 0;
    }
}

std::size_t Resampler::read(float* stereo, std::size_t frames) {
    if (!converter_)
        return source_(stereo, frames);
    const std::size_t got = soxr_output(converter_, stereo, frames);
    if (thrown_)
        std::rethrow_exception(std::exchange(thrown_, nullptr));
    return got;
}

} // namespace ambrel
