#pragma once

#include "platform/sound/device/CubebContext.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace ambrel {

/// A stereo output stream of cubeb's, to the default device.
///
/// Belongs to the sound control thread, as its context does. A stream is started once and thrown
/// away after use instead of being stopped and started again. On PulseAudio that is faster (1 to
/// 3 ms to the first request, against 2 to 7 ms), plays nothing left over in the server's buffer,
/// and is the safe way: starting a stream whose server has died in the meantime aborts the process.
class CubebStream {
  public:
    /// What a stream asks for frames and tells of its end; called on threads of cubeb's.
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

    /// From now on the client is asked for frames. Once only. Throws DeviceError.
    void start();

    /// Frames of this stream that have left the device, in an even flow (cubeb's own latency call
    /// aborts the process when the device is behind). Absent while the device cannot tell.
    std::optional<std::uint64_t> position() const;

    /// Frames that the device is asked to hold at `sampleRateHz`: what is written is heard about so
    /// much later. Less than 1,200 runs dry on a busy machine.
    static std::uint32_t latencyFrames(const CubebContext& context, int sampleRateHz);

  private:
    struct Destroy {
        void operator()(cubeb_stream* stream) const noexcept { cubeb_stream_destroy(stream); }
    };

    std::unique_ptr<cubeb_stream, Destroy> stream_;
};

} // namespace ambrel
