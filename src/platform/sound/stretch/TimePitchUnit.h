#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/BypassVoice.h"
#include "platform/sound/stretch/FrameHistory.h"
#include "platform/sound/stretch/FrameInput.h"
#include "platform/sound/stretch/RunInput.h"
#include "platform/sound/stretch/StretchVoice.h"

namespace ambrel {

/// Changes speed and pitch, independently, of one run after another. Owned by RenderThread.
///
/// The stretcher's delay is removed: the first frame out is the run's first, the last its last. At
/// a steady rate a run lasts its frames ÷ rate, to the frame. At rate 1 and 0 cents from its start,
/// it passes through bit for bit (bypass).
///
/// Every change to another voice is made in the same way: the next one is lined up with the current
/// one, then crossfaded in. When speed or pitch changes, a stretcher that has been fed what was
/// just played follows the bypass; half a second after both are back to normal, the bypass follows;
/// when frames that were already fed are replaced, another stretcher does.
///
/// Render thread only. Allocates in the constructor only, which takes about 0.4 s. It returns early
/// when asked to stop; the unit can then only be destroyed.
class TimePitchUnit {
  public:
    explicit TimePitchUnit(int sampleRateHz, const std::stop_token& stop = {});

    /// Begins a run. `source` must live until it is over.
    void begin(FrameInput& source);

    /// Frames from `frame` on have changed: the source delivers them again. `frame` may be a little
    /// before position().
    void replaceFrom(std::int64_t frame) noexcept;

    /// Speed; 1 is normal. Clamped to 0.05 to 3; NaN counts as 1.
    void setRate(double rate) noexcept;
    double rate() const noexcept { return rate_; }

    /// Transposition in cents. Clamped to −1200 to 1200; NaN counts as 0.
    void setPitch(double cents) noexcept;

    /// Renders up to `frames` frames and returns how many: fewer when the source has no more now or
    /// the run ends.
    std::size_t process(float* stereo, std::size_t frames);

    /// The run has been rendered to its last frame.
    bool finished() const noexcept { return framesLeft() <= 0; }

    /// Frames still to be rendered if the rate stays.
    std::int64_t framesLeft() const noexcept;

    /// Once finished: frames lost by rounding the length, −0.5 to 0.5.
    double framesCut() const noexcept { return current_->framesLeft(); }

    /// The input frame that the next rendered frame will be heard as, counted from the start of the
    /// run.
    double position() const noexcept;

    /// Input frames that pass with each frame made: 1 until a stretcher has taken over.
    double inputSpeed() const noexcept { return current_->rate(); }

  private:
    bool isNeutral() const noexcept { return rate_ == 1 && cents_ == 0; }
    void setVoices();
    StretchVoice& spare() noexcept;
    StretchVoice voice(Stretcher::Pitch pitch, const std::stop_token& stop);
    void chooseNext();
    void lineUp(std::size_t frames);
    void fade(float* stereo, std::size_t frames);
    std::size_t framesIn(int ms) const noexcept;

    int sampleRateHz_;
    MiddleBand::Stretchers middle_;
    std::array<StretchVoice, 3> stretchers_; ///< the first is the one for the normal pitch
    RunInput input_;
    FrameHistory heard_;
    BypassVoice bypass_;
    double rate_ = 1;
    double cents_ = 0;

    Voice* current_ = &bypass_;  ///< the one heard
    Voice* next_ = nullptr;      ///< the one that takes over, if one does
    bool isFading_ = false;      ///< next_ is lined up and being faded in
    std::size_t fadeFrames_ = 0; ///< length of the crossfade
    std::size_t faded_ = 0;
    double correlation_ = 1; ///< of the two voices

    std::size_t neutralFor_ = 0; ///< frames rendered since rate and pitch returned to normal
};

} // namespace ambrel
