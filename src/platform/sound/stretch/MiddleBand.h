#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <vector>

#include "platform/sound/attack/Spectrum.h"
#include "platform/sound/stretch/Decimation.h"
#include "platform/sound/stretch/RunInput.h"
#include "platform/sound/stretch/Stretcher.h"
#include "platform/sound/stretch/TimeMap.h"

namespace ambrel {

/// Replaces the middle of slowed-down sound, between some 600 Hz and 3.4 kHz, by that of a second
/// stretcher, which is purer there: it works at a third of the rate, on a single short window. The
/// borders follow the gaps between partials, for a partial that lay on one would be made of two
/// that differ in phase.
///
/// That takes 80 ms of frames ahead, in which a change of speed or pitch could no longer be heard.
/// So they are gathered while the sound plays, from its start or some time after a change on, by
/// making a quarter more frames than are taken; until then the sound passes unchanged.
///
/// One of each stretching voice; render thread only. Allocates in the constructor only.
class MiddleBand {
  public:
    /// The second stretchers, of which the pitch decides. Voices may share them, as only one at a
    /// time is so far that frames are ahead.
    struct Stretchers {
        /// As for Stretcher.
        Stretchers(int sampleRateHz, const std::stop_token& stop);
        Stretcher normal, transposing;
    };

    MiddleBand(RunInput& input, Stretchers& stretchers, int sampleRateHz);

    /// Begins anew: the next frame added is output frame `first`. Frames are gathered at once or
    /// only after a while.
    void begin(std::int64_t first, double rate, double cents, bool atOnce) noexcept;

    /// Speed and transposition from the next frame added on; none may be ahead.
    void change(double rate, double cents) noexcept;

    /// Frames are ahead by more than a change may be late.
    bool isAhead() const noexcept { return lookAhead() > lateFrames_; }

    /// How many frames beyond those to be taken must have been added.
    std::size_t lookAhead() const noexcept;

    /// Frames added and not taken.
    std::size_t held() const noexcept { return static_cast<std::size_t>(whole_.end() - next_); }

    void add(const float* stereo, std::size_t frames) noexcept { whole_.add(stereo, frames); }

    /// To be called when the stretcher whose frames are added has been fed up to input frame `fed`
    /// and `mapped` input frames have been entered in `map`.
    void follow(const TimeMap& map, std::int64_t mapped, std::int64_t fed);

    /// The input frame that is fed next.
    std::int64_t fed() const noexcept { return fed_; }

    /// Takes the next `frames` frames.
    void take(float* stereo, std::size_t frames) noexcept;

  private:
    using Bins = std::vector<Spectrum::Bin>;
    /// A range of bins that holds a border, and where it is; 0: not found yet.
    struct Border {
        double fromHz, toHz;
        std::size_t bin = 0;
    };

    std::size_t fullLookAhead() const noexcept;
    std::int64_t size() const noexcept { return static_cast<std::int64_t>(spectrum_.size()); }
    std::int64_t hop() const noexcept { return static_cast<std::int64_t>(spectrum_.hop()); }
    void start(const TimeMap& map, std::int64_t mapped);
    void feed(const TimeMap& map);
    void correctTo(std::int64_t end) noexcept;
    void correctWindow() noexcept;
    void reduceTo(std::int64_t end) noexcept;
    void analyse() noexcept;
    void place(Border& border) const noexcept;

    RunInput& input_;
    Decimation decimation_;
    int lowRateHz_;
    std::size_t lateFrames_;
    std::int64_t settleFrames_;
    Stretchers& stretchers_;
    Stretcher* stretcher_ = nullptr; ///< the one in use
    Spectrum spectrum_;

    double rate_ = 1, cents_ = 0;
    FrameHistory whole_;      ///< what has been added
    std::int64_t next_ = 0;   ///< output frame that is taken next
    std::int64_t steady_ = 0; ///< frames taken since a change

    bool isRunning_ = false; ///< the second stretcher
    std::int64_t fed_ = 0;
    double begun_ = 0;      ///< the low output frame made of its input after its pad
    double startDelay_ = 0; ///< at begun_
    FrameHistory middle_;   ///< its output
    std::int64_t middleFirst_ = 0;

    // All at the lower rate.
    bool isCorrecting_ = false;
    std::int64_t window_ = 0;                ///< first frame of the next one
    double mix_ = 0;                         ///< how much of the middle is replaced
    FrameHistory reduced_;                   ///< of whole_
    FrameHistory correction_;                ///< what to add to whole_
    std::vector<float> lowCorrection_;       ///< the last of it, at the lower rate
    std::array<std::vector<float>, 2> sums_; ///< of the windows of corrections, from window_ on
    Bins ownBins_[2], otherBins_[2];         ///< of whole_ and the second stretcher
    std::vector<float> power_, mono_, stereo_;
    Border low_{470, 730}, high_{3070, 3800};
};

} // namespace ambrel
