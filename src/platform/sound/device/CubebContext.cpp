#include "platform/sound/device/CubebContext.h"

namespace ambrel {

CubebContext::CubebContext(const std::string& backend) {
    cubeb* context = nullptr;
    if (cubeb_init(&context, "Ambrel", backend.empty() ? nullptr : backend.c_str()) != CUBEB_OK) {
        throw DeviceError("no sound system answers");
    }
    context_.reset(context);
    // cubeb tries the named backend first, then others.
    if (!backend.empty() && this->backend() != backend) {
        throw DeviceError(backend + " does not answer");
    }
}

std::string CubebContext::backend() const {
    return cubeb_get_backend_id(get());
}

int CubebContext::preferredSampleRateHz() const {
    std::uint32_t rate = 0;
    if (cubeb_get_preferred_sample_rate(get(), &rate) != CUBEB_OK || rate == 0) {
        throw DeviceError("there is no default device");
    }
    return static_cast<int>(rate);
}

} // namespace ambrel
