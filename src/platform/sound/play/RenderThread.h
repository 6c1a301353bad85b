#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <thread>

#include <boost/circular_buffer.hpp>

#include "platform/sound/effect/EqualiserUnit.h"
#include "platform/sound/effect/Fade.h"
#include "platform/sound/effect/Limiter.h"
#include "platform/sound/play/RenderRing.h"
#include "platform/sound/play/RunSource.h"
#include "platform/sound/play/TransportState.h"
#include "platform/sound/stretch/TimePitchUnit.h"
#include "platform/sound/thread/Mailbox.h"
#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

/// Speed, pitch and equaliser as set by the client; applied from the next block on. Any thread.
struct SoundSettings {
    struct Band {
        std::atomic<float> frequencyHz{1000};
        std::atomic<float> bandwidthOctaves{1};
        std::atomic<float> gainDb{0};
    };
    std::atomic<double> rate{1};
    std::atomic<double> cents{0};
    std::atomic<bool> equaliserBypass{true};
    std::array<Band, EqualiserUnit::bandCount> bands;
};

/// Renders passes, speed, pitch and equaliser into the ring, in blocks of up to 64 frames, and
/// sleeps while the ring is full, frames are missing, or nothing plays. Blocks are held back until
/// the limiter has seen what comes after them. Owned by the graph.
///
/// Driven by a device, it keeps the next request ready. Offline, it stops at the block that
/// meets the demand, and renders only once the cache has everything wanted, so that the result does
/// not depend on the speed of disk or machine.
///
/// If anything throws, for want of memory, the segment ends there.
class RenderThread {
  public:
    struct Wiring {
        const TransportState& transport;
        const SoundSettings& settings;
        Mailbox<PlayRequest>& requests;
        Mailbox<ExpectedStart>& expectations;
        FrameCache& cache;
        WakeUp& wake;                           ///< the thread waits for this
        WakeUp& demandMet;                      ///< offline: signalled when frames have been pushed
        const std::atomic<std::size_t>* demand; ///< offline: frames to render; null when paced
        std::stop_token ending;                 ///< stops the warm-up
    };

    /// Allocates, warms up the stretchers and starts the thread. `margin`: frames kept ready beyond
    /// the device's next request.
    RenderThread(Wiring wiring, int sampleRateHz, std::size_t margin);
    ~RenderThread();

    RenderRing& ring() noexcept { return ring_; }

  private:
    void run();
    bool step();
    bool isDemanded() noexcept;
    void takeRequest();
    bool enterRun(TransportState::Value transport);
    void begin(double pauseFrames, bool isFollowing);
    double framesOwed() noexcept;
    std::size_t room() const noexcept;
    bool isStretched() const noexcept;
    void applySettings() noexcept;
    std::size_t makeFrames(std::size_t frames);
    std::size_t makePause(std::size_t frames) noexcept;
    void finishFrames();
    void hold(bool isRunOver);
    void release() noexcept;
    double nextChangeable() const noexcept;
    void fadeEnd(float* stereo, std::size_t frames) noexcept;

    Wiring wiring_;
    int sampleRateHz_;
    RenderRing ring_;
    RunSource source_;
    TimePitchUnit timePitch_;
    EqualiserUnit equaliser_;
    Fade fade_;
    Limiter limiter_;
    std::int64_t epoch_ = 0;                ///< of the run being rendered
    std::int64_t newest_ = 0;               ///< epoch of the newest play request
    std::optional<ExpectedStart> expected_; ///< until something is played
    RenderBlock block_;
    /// Finished blocks on their way to the ring.
    boost::circular_buffer<RenderBlock> held_;
    bool isMade_ = true;         ///< the run has been rendered to its last frame
    bool isBroken_ = false;      ///< an exception was thrown: the segment ends here
    std::int64_t pauseLeft_ = 0; ///< frames left of the pause before the run
    double owed_ = 0;            ///< rounding error to be added to the next pause, in frames
    /// Of the fade into a run that follows a pause; the output stage fades a segment in.
    std::size_t fadeInStep_ = 0;
    float endGain_ = 1; ///< of the fade at the end of the run
    Place place_;       ///< of the next frame
    std::atomic<bool> ending_{false};
    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
