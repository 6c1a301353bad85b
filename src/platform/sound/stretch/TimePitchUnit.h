#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/sound/stretch/EdgeFiller.h"
#include "platform/sound/stretch/FrameInput.h"
#include "platform/sound/stretch/InputHistory.h"
#include "platform/sound/stretch/RecentSound.h"
#include "platform/sound/stretch/StretchLine.h"

namespace ambrel {

/// Changes speed and pitch, independently, of one run after another. Owned by RenderThread.
///
/// The stretcher's delay is removed: the first frame out is the run's first, the last its last. At
/// a steady rate a run lasts its frames ÷ rate, to the frame. At rate 1 and 0 cents from its start,
/// it passes through bit for bit (bypass). When either changes, a stretcher is first fed what was
/// just played, then crossfaded in; half a second after both are back to normal, the input itself
/// is crossfaded in again. When frames that were already fed are replaced, a second stretcher takes
/// over in the same way.
///
/// Render thread only. Allocates in the constructor only, which takes about 0.4 s. It returns early
/// when asked to stop; the unit can then only be destroyed.
class TimePitchUnit {
  public:
    explicit TimePitchUnit(int sampleRateHz, const std::stop_token& stop = {});

    /// Begins a run of `frames` frames, or FrameInput::endless. The source may change the length
    /// later.
    void begin(std::int64_t frames);

    /// Frames from `frame` on have changed: the source delivers them again. `frame` may be a little
    /// before position().
    void replaceFrom(std::int64_t frame);

    /// Speed; 1 is normal. Clamped to 0.05 to 3; NaN counts as 1.
    void setRate(double rate) noexcept;
    double rate() const noexcept { return rate_; }

    /// Transposition in cents. Clamped to −1200 to 1200; NaN counts as 0.
    void setPitch(double cents) noexcept;

    /// Renders up to `frames` frames and returns how many: fewer when `source` has no more now or
    /// the run ends.
    std::size_t process(FrameInput& source, float* stereo, std::size_t frames);

    /// The run has been rendered to its last frame.
    bool finished() const noexcept { return framesLeft() <= 0; }

    /// Frames still to be rendered if the rate stays.
    std::int64_t framesLeft() const noexcept;

    /// Once finished: frames lost by rounding the length, −0.5 to 0.5.
    double framesCut() const noexcept { return isDirect() ? 0 : leading().framesLeft(length_); }

    /// The input frame that the next rendered frame will be heard as, counted from the start of the
    /// run.
    double position() const noexcept;

    /// Input frames that pass with each frame made: 1 until a stretcher has taken over.
    double inputSpeed() const noexcept { return isDirect() ? 1 : rate_; }

  private:
    /// What is heard: the input (direct) or the active stretcher (stretching). In the other modes,
    /// that and what is about to replace it: the stretcher (joining), the other stretcher
    /// (switching), the input (leaving).
    enum class Mode { direct, joining, stretching, switching, leaving };

    bool neutral() const noexcept { return rate_ == 1 && cents_ == 0; }
    bool isDirect() const noexcept { return mode_ == Mode::direct || mode_ == Mode::joining; }
    StretchLine& line() noexcept { return lines_[active_]; }
    /// The stretcher that takes over, if one does; otherwise the active one.
    StretchLine& incoming() noexcept {
        return lines_[mode_ == Mode::switching ? 1 - active_ : active_];
    }
    /// The stretcher that determines position and end: the incoming one once its crossfade has
    /// begun.
    const StretchLine& leading() const noexcept {
        return lines_[mode_ == Mode::switching && fading_ ? 1 - active_ : active_];
    }

    std::size_t make(FrameInput& source, float* stereo, std::size_t frames);
    bool pull(FrameInput& source, std::int64_t upTo) noexcept;
    void refreshLength(FrameInput& source) noexcept;
    std::size_t direct(FrameInput& source, float* stereo, std::size_t frames) noexcept;
    std::size_t stretch(FrameInput& source, float* stereo, std::size_t frames);
    std::size_t takeFrom(StretchLine& line, FrameInput& source, float* stereo, std::size_t frames);
    bool feed(StretchLine& line, FrameInput& source);
    void setLines();

    void beginJoining();
    void beginSwitching();
    std::size_t takeOver(FrameInput& source, float* stereo, std::size_t frames);
    void catchUp(FrameInput& source, std::size_t frames);
    bool dropTo(double position);
    bool mayFade(std::int64_t framesLeft) const noexcept;
    void endTakeOver() noexcept;

    void watchForReturn(const float* stereo, std::size_t frames) noexcept;
    void beginLeaving() noexcept;
    std::size_t leave(FrameInput& source, float* stereo, std::size_t frames);

    std::array<StretchLine, 2> lines_;
    std::size_t active_ = 0;
    int sampleRateHz_;
    InputHistory input_;
    EdgeFiller edges_;

    double rate_ = 1;
    double cents_ = 0;
    Mode mode_ = Mode::direct;
    std::int64_t length_ = 0; ///< of the run, in frames
    std::int64_t next_ = 0;   ///< direct: the next input frame to pass through
    bool isOutdated_ = false; ///< the active stretcher was fed frames that have been replaced

    std::size_t fadeFrames_ = 0; ///< length of the crossfade
    std::size_t faded_ = 0;
    bool fading_ = false;
    double likeness_ = 1;

    std::int64_t neutralFor_ = 0; ///< frames rendered since rate and pitch returned to normal
    RecentSound recent_;          ///< output of the active stretcher
};

} // namespace ambrel
