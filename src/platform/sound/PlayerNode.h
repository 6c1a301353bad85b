#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/FrameBlock.h"
#include "platform/sound/WakeUp.h"

namespace ambrel {

class AudioFile;
class SegmentReader;

/// Decodes what is to be played on a thread of its own, about a second ahead of the render thread.
///
/// Commands come from any thread and never wait for the decoder: they leave their wish in a slot,
/// the decode thread looks there after each block. The reading side belongs to the render thread
/// and never waits either.
class PlayerNode final : public FrameInput {
  public:
    /// What to decode: `frameCount` frames of `file` from `startFrame` on.
    struct Run {
        std::int64_t epoch = 0;
        std::shared_ptr<AudioFile> file; ///< none: nothing to decode
        std::int64_t startFrame = 0;
        std::int64_t frameCount = 0;
        std::int64_t framesBefore = 0; ///< of the segment, heard before this run
        int outputRateHz = 0;
    };

    /// `framesReady` is signalled whenever frames were added. `paced`: a device plays them, so that
    /// the decode thread rests most of the time and may go before other programs.
    PlayerNode(WakeUp& framesReady, bool paced);
    ~PlayerNode() override;

    /// Decodes this instead of what was being decoded. Any thread.
    void play(Run run);

    /// @name The render thread's side
    /// @{

    /// Drops the frames of runs before run `epoch`, and gives the run's
    /// place when its first frames are there, nullptr before.
    const RunPlace* open(std::int64_t epoch) noexcept;

    /// Frames of the run that was opened last.
    std::size_t read(float* stereo, std::size_t frames) noexcept override;

    /// Whether `frames` frames of the opened run are there, or all that are left of it, or as many
    /// as are decoded ahead. If not, they will be.
    bool hasAhead(std::size_t frames) noexcept;

    /// @}

  private:
    void decode();
    void nextRun();
    void decodeChunk();
    bool waitForRoom();
    bool superseded() const;

    WakeUp& framesReady_;
    bool paced_;
    WakeUp wake_;
    boost::lockfree::spsc_queue<PlayerBlock> blocks_;
    std::atomic<bool> ending_{false};
    std::atomic<std::size_t> blocksAhead_;      ///< as many are decoded before the thread rests
    std::atomic<std::int64_t> decodedEpoch_{0}; ///< all frames of this run are in the ring

    std::mutex wishMutex_;
    Run wish_;
    std::atomic<std::int64_t> wishedEpoch_{0};

    // The decode thread's.
    Run run_;
    RunPlace place_;
    std::unique_ptr<SegmentReader> reader_;
    std::size_t chunkFrames_ = 0;
    std::vector<float> chunk_;

    // The render thread's.
    RunPlace opened_;
    std::size_t taken_ = 0; ///< frames of the first block that were read already

    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
