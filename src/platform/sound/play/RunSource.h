#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/sound/play/FrameBlock.h"
#include "platform/sound/play/FrameCache.h"
#include "platform/sound/play/PassReader.h"
#include "platform/sound/play/Resampler.h"
#include "platform/sound/stretch/FrameInput.h"

namespace ambrel {

/// What the client wants to be played: one immutable value, published as a whole.
struct PlayRequest {
    /// Of the segment, a number that only grows; a new one also for what is left of a segment when
    /// the device's rate changes while it plays. Requests of one epoch differ in `next` alone.
    std::int64_t epoch = 0;
    std::int64_t file = 0; ///< as FileReader::open() was told; 0: nothing is to be played
    int fileHz = 1;
    std::int64_t fileLength = 0;
    Pass first;
    double heardFrames = 0;  ///< of the first pass, heard before
    double pauseSeconds = 0; ///< of silence, left before it
    std::optional<Announcement> next;
};

/// The frames of a segment at the device's rate: walks through its passes and runs, reads them from
/// the cache, converts them, and sees to it that the cache has what will be needed.
///
/// One converter runs through all passes of a run, so that no boundary is heard from it and none is
/// rounded. Frames are counted from the run's first. One thread, the render thread; never waits.
class RunSource final : public FrameInput {
  public:
    RunSource(FrameCache& cache, int deviceHz);

    /// Another segment, of which the first run begins. Throws std::runtime_error when there is not
    /// the memory to convert its rate; so does all that is not noexcept.
    void prepare(const PlayRequest& request);

    /// Whether the first frames of the segment are there.
    bool isReady() const noexcept;

    /// The run after this one begins. False if none follows.
    bool beginNextRun();

    /// Something else is said to follow. It counts once the beginning of it is in the cache.
    void announce(const std::optional<Announcement>& next) noexcept {
        announced_ = next;
        isNew_ = true;
    }

    /// Takes over what has been read and asks for what will be needed. Lets what was announced
    /// follow passes that end at `changeable` or later; gives the frame from which on frames that
    /// were read are others now, if some are.
    std::optional<std::int64_t> update(double changeable);

    /// Whether all that will be needed within a second is there.
    bool isComplete() const noexcept { return cache_.isComplete(); }

    std::size_t read(float* stereo, std::size_t frames) noexcept override;

    /// Where the run ends as it is now known, or FrameInput::endless.
    std::optional<std::int64_t> runEnd() noexcept override { return toDevice(passes_.end()); }

    /// What rounding to whole frames takes from the run, −0.5 to 0.5.
    double framesCut() const noexcept;

    /// The pass that begins after the run and its pause; absent if the segment ends with the run.
    std::optional<Pass> afterEnd() const noexcept { return passes_.afterEnd(); }

    /// Silence before the run, in seconds.
    double pauseSeconds() const noexcept { return pauseSeconds_; }

    /// Which pass the run's frame `frame` belongs to, and where in it that lies.
    RunTimeline::Place placeAt(double frame) const noexcept {
        return passes_.timeline().placeAt(frame * ratio_);
    }

  private:
    static constexpr std::size_t inputFrames = 256;

    std::int64_t toDevice(std::int64_t fileFrame) const noexcept;
    void startConverter(std::int64_t from);
    void wantAhead();
    void want(std::int64_t first, std::int64_t frames);
    bool hasStart(const std::optional<Announcement>& next) const noexcept;
    std::size_t convert(float* stereo, std::size_t frames) noexcept;
    bool takeInput() noexcept;

    FrameCache& cache_;
    PassReader passes_;
    int deviceHz_;
    int fileHz_ = 1;
    double ratio_ = 1; ///< file frames in a device frame
    double pauseSeconds_ = 0;
    std::optional<Announcement> announced_;
    bool isNew_ = false; ///< what was announced does not count yet

    std::optional<Resampler> converter_; ///< none where the rates are equal
    std::int64_t position_ = 0;          ///< device frames read of the run
    std::int64_t toSkip_ = 0;            ///< of what the converter makes next
    std::array<float, 2 * inputFrames> input_{};
    std::size_t inputDone_ = 0, inputCount_ = 0; ///< frames
};

} // namespace ambrel
