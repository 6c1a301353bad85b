#pragma once

#include <memory>
#include <vector>

#include "platform/sound/thread/WakeUp.h"

namespace ambrel::bench {

/// What a sink of the sound server plays, and when each frame of it was heard.
///
/// The server tells, about ten times a second and of its own accord, which frame of the recording
/// is being heard, its own delays taken off. A line through all it told ties the recording to the
/// clock, with no guess about how late the recording arrives here.
class MonitorRecording {
  public:
    static constexpr int sampleRateHz = 48'000;

    /// Returns when the recording runs; throws std::runtime_error without a server.
    MonitorRecording();
    ~MonitorRecording();

    /// Frames recorded so far.
    std::size_t frames() const;

    /// One channel (0 or 1) of frames [from, to), which are recorded.
    std::vector<float> channel(int number, std::size_t from, std::size_t to) const;

    /// Waits until a moment has been recorded.
    void waitFor(SoundClock::time_point when) const;

    /// Which frame was heard at a moment, and the other way round.
    double frameAt(SoundClock::time_point when) const;
    SoundClock::time_point when(double frame) const;

    /// How far the server's tellings lie beside the line, in milliseconds: 95 of 100 at most.
    double uncertaintyMs() const;

    /// How long before it was heard a frame arrived here, in the middle: what a recording without
    /// these tellings would be wrong by.
    double earlyMs() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace ambrel::bench
