#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <thread>

#include "platform/sound/effect/EqualiserUnit.h"
#include "platform/sound/effect/Fade.h"
#include "platform/sound/play/PlayGate.h"
#include "platform/sound/play/RenderRing.h"
#include "platform/sound/play/RunSource.h"
#include "platform/sound/stretch/TimePitchUnit.h"
#include "platform/sound/thread/Mailbox.h"
#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

/// What the client sets and the render thread obeys from its next block on. Any thread.
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

/// Runs passes → time-pitch → equaliser into the ring, a block of 64 frames at a time, and sleeps
/// while the ring is full, the cache has nothing, or nothing is played.
///
/// Should anything be thrown on the way, memory having run out, the segment ends there.
///
/// Paced by a device it keeps a fixed number of frames ahead. Pulled offline it makes just the
/// frames demanded, and only once the cache has all that is wanted, so that neither the speed of
/// the disk nor that of the machine has a say in what comes out.
class RenderThread {
  public:
    struct Wiring {
        const PlayGate& gate;
        const SoundSettings& settings;
        Mailbox<PlayRequest>& requests;
        FrameCache& cache;
        WakeUp& wake;                           ///< what the thread sleeps on
        WakeUp& demandMet;                      ///< offline: signalled when frames were pushed
        const std::atomic<std::size_t>* demand; ///< offline: frames to make; none when paced
        std::stop_token ending;                 ///< warming up would be in vain
    };

    /// Allocates, warms everything up and starts the thread. `framesAhead`: how many frames are
    /// kept ready when paced by a device.
    RenderThread(Wiring wiring, int sampleRateHz, std::size_t framesAhead);
    ~RenderThread();

    RenderRing& ring() noexcept { return ring_; }

  private:
    void run();
    bool step();
    bool isDemanded() noexcept;
    void takeRequest();
    bool enterRun(PlayGate::State gate);
    void begin(double pauseFrames, bool isFollowing);
    double framesOwed() noexcept;
    std::size_t room() const noexcept;
    void applySettings() noexcept;
    std::size_t makeFrames(std::size_t frames);
    std::size_t makePause(std::size_t frames) noexcept;
    void finishFrames() noexcept;
    void push() noexcept;
    double nextChangeable() const noexcept;
    void fadeStart(float* stereo, std::size_t frames) noexcept;
    void fadeEnd(float* stereo, std::size_t frames) noexcept;

    Wiring wiring_;
    int sampleRateHz_;
    std::size_t framesAhead_;
    RenderRing ring_;
    RunSource source_;
    TimePitchUnit timePitch_;
    EqualiserUnit equaliser_;
    Fade fade_;
    std::int64_t epoch_ = 0;  ///< of the run being made
    std::int64_t newest_ = 0; ///< of the newest request
    RenderBlock block_;
    bool isMade_ = true;         ///< the run, to its last frame
    bool isBroken_ = false;      ///< something was thrown: the segment ends here
    std::int64_t pauseLeft_ = 0; ///< frames of silence before the run
    double owed_ = 0;            ///< frames by which the runs of the segment end too early
    std::size_t fadeInStep_ = 0; ///< of a run that follows a pause
    float endGain_ = 1;          ///< of the fade at the run's end
    RunTimeline::Place place_;   ///< of the next frame made
    std::atomic<bool> ending_{false};
    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
