#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace ambrel {

/// What the engine reads from the application state and writes back. Main thread only.
class PlaybackModel {
  public:
    virtual ~PlaybackModel() = default;

    virtual bool loopEnabled() const = 0;
    virtual double regionStart() const = 0; ///< seconds from the file's start
    virtual double regionEnd() const = 0;   ///< seconds from the file's start
    virtual std::int64_t loopDelaySeconds() const = 0;
    virtual std::int64_t loopDelayMilliseconds() const = 0;

    /// Calls `notify` after each change of the five above for as long as the returned handle lives.
    virtual std::shared_ptr<void> observeLoop(std::function<void()> notify) = 0;

    virtual void setPlaybackPosition(double seconds) = 0;
    virtual void setIsPlaying(bool playing) = 0;
};

} // namespace ambrel
