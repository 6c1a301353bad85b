#pragma once

#include "platform/sound/device/CubebContext.h"
#include "platform/sound/device/DeviceCallback.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ambrel {

/// A stereo output stream to the default device.
///
/// A stream is started once and destroyed after use, never stopped and started again. With
/// PulseAudio a new one is faster (1 to 3 ms to the first request instead of 2 to 7 ms), plays no
/// leftovers from the server's buffer, and is safe: starting a stream whose server has died aborts
/// the process.
///
/// One thread at a time. All but position() may block for as long as the sound server does, even
/// for ever.
class CubebStream {
  public:
    /// Opens a stream and starts asking `callback`, which must outlive it, for frames. Throws
    /// DeviceError.
    CubebStream(const CubebContext& context, int sampleRateHz, DeviceCallback& callback);

    /// What a mixer calls the stream, where the sound system supports that.
    void setTitle(const std::string& title);
    const std::string& title() const noexcept { return title_; } ///< empty before it is set

    /// Frames of this stream that have left the device; absent while unknown. (Increases steadily;
    /// cubeb's own latency call aborts the process when the device is behind.)
    std::optional<std::uint64_t> position() const;

    /// Frames for the device to buffer at `sampleRateHz`, which is the latency. Fewer than 1,200
    /// run dry on a busy machine.
    static std::uint32_t latencyFrames(const CubebContext& context, int sampleRateHz);

  private:
    struct Destroy {
        void operator()(cubeb_stream* stream) const noexcept {
            cubeb_stream_stop(stream);
            cubeb_stream_destroy(stream);
        }
    };

    std::unique_ptr<cubeb_stream, Destroy> stream_;
    std::string title_;
};

} // namespace ambrel
