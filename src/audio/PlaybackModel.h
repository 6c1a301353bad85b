#pragma once

#include <cstdint>

namespace ambrel {

/// What the engine reads of the model and writes back into it. Main thread only.
class PlaybackModel {
  public:
    virtual ~PlaybackModel() = default;

    virtual bool loopEnabled() const = 0;
    virtual double regionStart() const = 0; ///< seconds from the file's start
    virtual double regionEnd() const = 0;   ///< seconds from the file's start
    virtual std::int64_t loopDelaySeconds() const = 0;
    virtual std::int64_t loopDelayMilliseconds() const = 0;

    virtual void setPlaybackPosition(double seconds) = 0;
    virtual void setIsPlaying(bool playing) = 0;
};

} // namespace ambrel
