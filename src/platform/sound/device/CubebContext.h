#pragma once

#include <cubeb/cubeb.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace ambrel {

/// A sound server or device that cannot be used, for now.
class DeviceError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A connection to one of the sound systems that cubeb knows.
///
/// Belongs to the sound control thread: every call may take as long as a sound server takes, for
/// ever included. Streams must be gone before their context. No callback for changes of devices is
/// registered: destroying a context aborts the process while one is, and the servers move a stream
/// to another sink by themselves.
class CubebContext {
  public:
    /// Connects to `backend`, or to the first that works if that is empty. Throws DeviceError.
    explicit CubebContext(const std::string& backend);

    /// As cubeb names it.
    std::string backend() const;

    /// The rate that the default device runs at. Throws DeviceError when there is no such device.
    int preferredSampleRateHz() const;

    cubeb* get() const noexcept { return context_.get(); }

  private:
    struct Destroy {
        void operator()(cubeb* context) const noexcept { cubeb_destroy(context); }
    };

    std::unique_ptr<cubeb, Destroy> context_;
};

} // namespace ambrel
