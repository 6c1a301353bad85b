#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ambrel {

/// Where an output takes its frames from.
class FrameSource {
  public:
    virtual ~FrameSource() = default;

    /// Called before the first render() at a rate, and never during one, on a thread of the output
    /// that is not the device's: it may allocate and take its time. `request` is how many frames
    /// one render() is expected to ask for. If it throws, for want of memory, render() is not
    /// called until a later call has succeeded.
    virtual void prepare(int sampleRateHz, std::size_t request) = 0;

    /// Fills `frames` interleaved stereo frames; if that is more than was ever expected, what is
    /// not ready is silent, this once. Called on the device's thread: must not lock, allocate, log,
    /// do file I/O or call Qt.
    virtual void render(float* stereo, std::size_t frames) noexcept = 0;

    /// Only for an output that is not paced, before each render(): waits until `frames` frames are
    /// ready, and returns how many will be. Fewer if playback ends before; 0 if nothing plays.
    virtual std::size_t awaitFrames(std::size_t frames) { return frames; }
};

/// Where rendered frames go: a sound device, a clock that stands in for one, or a buffer.
///
/// One client thread calls open(), start() and stop(); none of them waits for a device. Frames are
/// counted from open() on, across all devices used, and the count never goes back.
class AudioOutput {
  public:
    virtual ~AudioOutput() = default;

    /// Whether a clock determines when frames are asked for. Otherwise they are pulled as fast as
    /// they can be rendered.
    virtual bool isPaced() const noexcept { return true; }

    /// Starts opening the device. `source` must outlive the output. Device errors are handled
    /// internally (a silent clock stands in) and never reported.
    virtual void open(FrameSource& source) = 0;

    /// Starts asking for frames, soon afterwards.
    virtual void start() = 0;

    /// Stops asking for frames, soon afterwards.
    virtual void stop() = 0;

    /// What a mixer calls the sound, from the next time on that nothing is played.
    virtual void setTitle(const std::string& /*title*/) {}

    /// How many of the rendered frames have left the loudspeaker. Wait-free, any thread; never
    /// decreases and never exceeds what has been rendered.
    virtual std::int64_t framesHeard() const noexcept = 0;
};

} // namespace ambrel
