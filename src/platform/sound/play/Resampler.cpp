#include "platform/sound/play/Resampler.h"

#include <stdexcept>

#include <soxr.h>

namespace ambrel {

Resampler::Resampler(int fromHz, int toHz) {
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    converter_ = soxr_create(fromHz, toHz, 2, &error, &io, &quality, &runtime);
    if (error)
        throw std::runtime_error(error);
}

Resampler::~Resampler() {
    soxr_delete(converter_);
}

Resampler::Step Resampler::process(const float* in, std::size_t inFrames, float* out,
                                   std::size_t outFrames) noexcept {
    Step step;
    soxr_process(converter_, in, inFrames, &step.taken, out, outFrames, &step.made);
    return step;
}

} // namespace ambrel
