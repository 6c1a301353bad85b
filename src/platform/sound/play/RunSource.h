#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/sound/play/FrameBlock.h"
#include "platform/sound/play/FrameCache.h"
#include "platform/sound/play/PassReader.h"
#include "platform/sound/play/Resampler.h"
#include "platform/sound/stretch/FrameInput.h"

namespace ambrel {

/// What the client wants played: immutable, passed to the render thread as a whole.
struct PlayRequest {
    /// Increases with each segment, and when the rest of one continues at another device rate.
    /// Requests of one epoch differ only in `next`.
    std::int64_t epoch = 0;
    std::int64_t file = 0; ///< as passed to FileReader::open(); 0: nothing to play
    int fileHz = 1;
    std::int64_t fileLength = 0;
    Place from; ///< with what is left of the pause before it
    std::optional<Announcement> next;
};

/// Where playback may start next.
struct ExpectedStart {
    std::int64_t file = 0;
    std::int64_t fileLength = 0;
    std::int64_t frame = 0;
};

/// The frames of a segment at the device's rate: reads its passes from the cache, run by run,
/// resamples them, and tells the cache what will be needed.
///
/// One resampler serves all passes of a run, so that boundaries are neither audible in it nor
/// rounded. Frames are counted from the run's start, in device frames. Render thread only; never
/// waits.
class RunSource final : public FrameInput {
  public:
    RunSource(FrameCache& cache, int deviceHz);

    /// Begins another segment with its first run. Like update() and beginNextRun(), throws
    /// std::runtime_error when there is no memory for the resampler.
    void prepare(const PlayRequest& request);

    /// While nothing plays: reads ahead what a start there needs. To be called again whenever
    /// something has been read.
    void readAhead(const ExpectedStart& start) noexcept;

    /// Whether the start of the segment is in the cache.
    bool isReady() const noexcept;

    /// Begins the next run. False if nothing follows.
    bool beginNextRun();

    /// Replaces the announcement, once its start is in the cache.
    void announce(const std::optional<Announcement>& next) noexcept {
        announced_ = next;
        isNew_ = true;
    }

    /// Updates the cache, and applies a new announcement to boundaries at `changeable` or later. If
    /// frames already read have become wrong, returns the first of them; reading resumes there.
    /// `attacks`: whether those will be needed that are found ahead.
    std::optional<std::int64_t> update(double changeable, bool attacks);

    /// Whether everything needed within the next second is in the cache.
    bool isComplete() const noexcept { return cache_.isComplete(); }

    std::size_t read(float* sound, float* rest, std::size_t frames) noexcept override;
    std::span<const RunAttack> attacks() const noexcept override { return passes_.attacks(); }
    double attackFrames() const noexcept override { return ratio_; }

    /// Where the run ends as far as is known, or FrameInput::endless.
    std::int64_t runEnd() const noexcept override { return toDevice(passes_.end()); }

    /// Frames lost by rounding the run's length to device frames, −0.5 to 0.5.
    double framesCut() const noexcept;

    /// The pass that begins after this run and a pause; absent if nothing follows.
    std::optional<Pass> afterEnd() const noexcept { return passes_.afterEnd(); }

    /// The pause before the run, in seconds.
    double pauseSeconds() const noexcept { return pauseSeconds_; }

    /// The pass that frame `frame` of the run belongs to, and the position in it.
    Place placeAt(double frame) const noexcept {
        return passes_.timeline().placeAt(frame * ratio_);
    }

  private:
    static constexpr std::size_t inputFrames = 256;

    std::int64_t toDevice(std::int64_t fileFrame) const noexcept;
    void startConverter(std::int64_t from);
    void wantAhead(bool attacks);
    void want(std::int64_t first, std::int64_t frames, bool attacks);
    bool hasStart(const std::optional<Announcement>& next) const noexcept;
    std::size_t convert(float* sound, float* rest, std::size_t frames) noexcept;
    bool takeInput() noexcept;

    FrameCache& cache_;
    PassReader passes_;
    int deviceHz_;
    int fileHz_ = 1;
    double ratio_ = 1; ///< file frames in a device frame
    double pauseSeconds_ = 0;
    std::optional<Announcement> announced_;
    bool isNew_ = false; ///< what was announced does not count yet

    /// Of the sound and of its rest, in step; none where the rates are equal.
    std::optional<Resampler> converter_, restConverter_;
    std::int64_t position_ = 0; ///< device frames read of the run
    std::int64_t toSkip_ = 0;   ///< output frames of the converter to skip
    std::array<float, 2 * inputFrames> input_{}, restInput_{};
    std::size_t inputDone_ = 0, inputCount_ = 0; ///< frames
};

} // namespace ambrel
