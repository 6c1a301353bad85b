#pragma once

#include "platform/sound/device/CubebContext.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace ambrel {

/// A stereo output stream to the default device.
///
/// Sound control thread only, as its context. A stream is started once and destroyed after use,
/// never stopped and started again. With PulseAudio a new one is faster (1 to 3 ms to the first
/// request instead of 2 to 7 ms), plays no leftovers from the server's buffer, and is safe:
/// starting a stream whose server has died aborts the process.
class CubebStream {
  public:
    /// Supplies the frames of a stream. Called on threads of cubeb.
    class Client {
      public:
        virtual ~Client() = default;

        /// Fills `frames` interleaved stereo frames. Must not lock, allocate, log or do I/O.
        virtual void fill(float* stereo, std::size_t frames) noexcept = 0;

        /// The device or its server is gone; the stream can only be destroyed.
        virtual void lost() noexcept = 0;
    };

    /// Opens a stream. `client` must outlive it. Throws DeviceError.
    CubebStream(const CubebContext& context, int sampleRateHz, Client& client);
    ~CubebStream();

    CubebStream(const CubebStream&) = delete;
    CubebStream& operator=(const CubebStream&) = delete;

    /// Starts asking the client for frames. Once only. Throws DeviceError.
    void start();

    /// Frames of this stream that have left the device; absent while unknown. (Increases steadily;
    /// cubeb's own latency call aborts the process when the device is behind.)
    std::optional<std::uint64_t> position() const;

    /// Frames for the device to buffer at `sampleRateHz`, which is the latency. Fewer than 1,200
    /// run dry on a busy machine.
    static std::uint32_t latencyFrames(const CubebContext& context, int sampleRateHz);

  private:
    struct Destroy {
        void operator()(cubeb_stream* stream) const noexcept { cubeb_stream_destroy(stream); }
    };

    std::unique_ptr<cubeb_stream, Destroy> stream_;
};

} // namespace ambrel
