#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <vector>

namespace RubberBand {
class RubberBandStretcher;
}

namespace ambrel {

/// Rubber Band's R3 engine in real-time mode, stereo, fed 16 frames at a time, and held to a given
/// course: the engine loses or gains a few milliseconds whenever its ratio changes, which would add
/// up while a slider is dragged, so small corrections of the ratio bring it back.
///
/// One thread at a time. Allocates in the constructor only, which also runs it once through every
/// corner of speed and pitch, because the engine allocates the first time it gets there; asked to
/// stop, it leaves that at once.
class Stretcher {
  public:
    /// Frames in a feed.
    static constexpr std::size_t feedFrames = 16;
    static constexpr double minRate = 0.05;
    static constexpr double maxRate = 3.0;
    static constexpr double maxCents = 1200;

    explicit Stretcher(int sampleRateHz, const std::stop_token& stop = {});
    ~Stretcher();

    /// Half the analysis window: silence or past sound to feed before the first frame meant.
    std::size_t pad() const noexcept { return pad_; }

    /// Forgets all sound and starts at this rate and pitch. Of what comes out, the first
    /// `discard` frames are thrown away.
    void reset(double rate, double cents);
    void discard(std::int64_t frames) noexcept { discard_ += frames; }

    /// Frames between the first that comes out and the one made of the frame fed after `pad()`.
    std::int64_t startDelay() const noexcept;

    void setRate(double rate);
    void setCents(double cents);

    /// Takes feedFrames interleaved stereo frames.
    void feed(const float* stereo);

    /// Frames that can be taken now.
    std::size_t available();

    /// Takes up to `frames` frames and returns how many.
    std::size_t take(float* stereo, std::size_t frames);

    /// Frames taken or thrown away since reset().
    std::int64_t taken() const noexcept { return taken_; }

    /// Frames that came out since reset(), thrown-away and untaken ones included, and half a window
    /// that is certain to follow: what the course is compared with.
    double committed() const noexcept;

    /// Tells by how many frames the course is ahead of committed(), as of the last feed.
    void correct(double behindFrames);

  private:
    void warmUp(const std::stop_token& stop);
    void applyRatio();
    int ready() const noexcept;
    void feedSine(double& phase, const std::stop_token& stop);
    void measureKept();
    void feedSilence();
    void begin(double rate, double cents);

    static constexpr std::size_t takeFrames = 256;

    int sampleRateHz_;
    std::unique_ptr<RubberBand::RubberBandStretcher> engine_;
    std::size_t pad_ = 0;
    double rate_ = 1;
    double correction_ = 0;       ///< relative, of the time ratio
    double mostBehind_ = 0;       ///< in the span observed
    double observed_ = 0;         ///< length of that span so far, output frames
    std::int64_t keptFrames_ = 0; ///< at 0 cents, how much later than the engine says it starts
    std::int64_t discard_ = 0;
    std::int64_t taken_ = 0; ///< since reset(), thrown away included
    std::array<std::array<float, feedFrames>, 2> in_{};
    std::array<std::array<float, takeFrames>, 2> out_{};
};

} // namespace ambrel
