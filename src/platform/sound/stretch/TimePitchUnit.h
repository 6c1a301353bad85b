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

/// Changes speed and pitch of one run after the other, each without the other.
///
/// The first frame out is the run's first and the last its last: the stretcher's delay is taken
/// off, and a run at a steady rate lasts its frames ÷ rate, to the frame. At rate 1 and 0 cents the
/// run is passed through bit for bit. Whenever either changes, a stretcher is brought alongside on
/// what was just played, and crossfaded in; half a second after both are back, the sound itself is
/// crossfaded in again. The same way a second stretcher takes over when frames that the first was
/// fed already are replaced by others.
///
/// One thread at a time, the render thread. Allocates in the constructor only, which takes about
/// 0.4 s unless asked to stop: then the unit is good for nothing but to be destroyed.
class TimePitchUnit {
  public:
    explicit TimePitchUnit(int sampleRateHz, const std::stop_token& stop = {});

    /// What comes next is a run of `frames` frames, FrameInput::endless if it has no end yet. The
    /// source may tell another length on the way.
    void begin(std::int64_t frames);

    /// From `frame` on the source gives its frames once more, and they may be others than those
    /// that were taken from it. `frame` may lie a little before position(), up to half of what is
    /// kept.
    void replaceFrom(std::int64_t frame);

    /// Speed, 1 is normal; brought into 0.05 to 3, no number counts as 1.
    void setRate(double rate) noexcept;
    double rate() const noexcept { return rate_; }

    /// Transposition; brought into −1200 to 1200 cents, no number counts as 0.
    void setPitch(double cents) noexcept;

    /// Makes up to `frames` frames and returns how many: fewer when `source` has no more now or
    /// when the run ends.
    std::size_t process(FrameInput& source, float* stereo, std::size_t frames);

    /// The run has been made to its last frame.
    bool finished() const noexcept { return framesLeft() <= 0; }

    /// Frames still to be made, if the rate stays.
    std::int64_t framesLeft() const noexcept;

    /// Once finished: what rounding to whole frames took from the run, −0.5 to 0.5 of a frame.
    double framesCut() const noexcept { return isDirect() ? 0 : leading().framesLeft(length_); }

    /// The input frame that the next frame made will be heard as, counted from the run's first.
    double position() const noexcept;

    /// Input frames that pass with each frame made: 1 until a stretcher has taken over.
    double inputSpeed() const noexcept { return isDirect() ? 1 : rate_; }

  private:
    /// What is heard: the input itself or the stretcher in use; in the other modes, one of them
    /// with the other, or the other stretcher, on its way to replace it.
    enum class Mode { direct, joining, stretching, switching, leaving };

    bool neutral() const noexcept { return rate_ == 1 && cents_ == 0; }
    bool isDirect() const noexcept { return mode_ == Mode::direct || mode_ == Mode::joining; }
    StretchLine& line() noexcept { return lines_[active_]; }
    /// The stretcher that takes over, in the modes that have one; else the one in use.
    StretchLine& incoming() noexcept {
        return lines_[mode_ == Mode::switching ? 1 - active_ : active_];
    }
    /// The stretcher by which place and end are reckoned: the incoming one from its first frame on.
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
    std::int64_t length_ = 0; ///< of the run
    std::int64_t next_ = 0;   ///< direct: the input frame to pass through next
    bool isOutdated_ = false; ///< the line in use was fed frames that were replaced

    std::size_t fadeFrames_ = 0; ///< of a fade between two of them
    std::size_t faded_ = 0;
    bool fading_ = false;
    double likeness_ = 1;

    std::int64_t neutralFor_ = 0; ///< frames made since rate and pitch are back to normal
    RecentSound recent_;          ///< that the line made
};

} // namespace ambrel
