#pragma once

#include <cubeb/cubeb.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace ambrel {

/// The sound server or device cannot be used, for now.
class DeviceError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A connection to one of the sound systems that cubeb supports.
///
/// One thread at a time. Any call may block for as long as the sound server does, even for ever.
/// Streams must be destroyed before their context. No device-change callback is registered, because
/// destroying a context aborts the process while one is; sound servers move streams to another sink
/// by themselves.
class CubebContext {
  public:
    /// Connects to `backend`, or to the first one available if empty. Throws DeviceError.
    explicit CubebContext(const std::string& backend);

    /// The backend in use, by cubeb's name.
    std::string backend() const;

    /// The sample rate of the default device in Hz. Throws DeviceError if there is no device.
    int preferredSampleRateHz() const;

    cubeb* get() const noexcept { return context_.get(); }

  private:
    struct Destroy {
        void operator()(cubeb* context) const noexcept { cubeb_destroy(context); }
    };

    std::unique_ptr<cubeb, Destroy> context_;
};

} // namespace ambrel
