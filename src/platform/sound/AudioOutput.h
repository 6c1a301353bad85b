#pragma once

#include <cstddef>
#include <cstdint>

namespace ambrel {

/// What an output plays: it asks for frames, the source fills them.
class FrameSource {
  public:
    virtual ~FrameSource() = default;

    /// Before the first render() at this rate, and never during one. Called on a thread of the
    /// output's own that is not the device's, so it may allocate and take its time.
    /// `largestRequest` is the most frames one render() asks for. If it throws, for want of memory,
    /// no render() follows before another call has succeeded.
    virtual void prepare(int sampleRateHz, std::size_t largestRequest) = 0;

    /// Fills `frames` interleaved stereo frames. Called on the device's thread: must not lock,
    /// allocate, log, do file I/O or call Qt.
    virtual void render(float* stereo, std::size_t frames) noexcept = 0;

    /// Only for an output that is not paced: waits until render() has `frames` frames, and returns
    /// how many it will have, fewer when what plays ends before or nothing plays. To be called
    /// before each render().
    virtual std::size_t awaitFrames(std::size_t frames) { return frames; }
};

/// Where finished frames go: a sound device, a clock that stands in for one, or a buffer.
///
/// One client thread calls open(), start() and stop(); none of them waits for a device. Frames are
/// counted from open() on, over every device the output has used since, and never go back.
class AudioOutput {
  public:
    virtual ~AudioOutput() = default;

    /// Whether a clock decides when frames are asked for. One that is not paced takes them as fast
    /// as they can be made, and waits for them.
    virtual bool isPaced() const noexcept { return true; }

    /// Begins to open the device; `source` must outlive the output. What goes wrong is mended
    /// behind this interface (a silent clock takes over), never reported.
    virtual void open(FrameSource& source) = 0;

    /// From soon on, frames are asked for.
    virtual void start() = 0;

    /// After a while, frames are no longer asked for.
    virtual void stop() = 0;

    /// Of all frames that render() has delivered, how many have left the loudspeaker. Wait-free,
    /// any thread; at most what has been rendered, and never less than before.
    virtual std::int64_t framesHeard() const noexcept = 0;
};

} // namespace ambrel
