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

/// Rubber Band's R3 engine in real-time mode, stereo, fed 16 frames at a time. Each change of ratio
/// makes the engine gain or lose a few milliseconds, which would add up while a slider is dragged;
/// correct() removes that drift by small changes of the ratio.
///
/// One thread at a time. Allocates in the constructor only: it visits every corner of speed and
/// pitch, because the engine allocates the first time it gets there. It returns early, with an
/// unusable stretcher, when asked to stop.
class Stretcher {
  public:
    /// Frames per call of feed().
    static constexpr std::size_t feedFrames = 16;
    static constexpr double minRate = 0.05;
    static constexpr double maxRate = 3.0;
    static constexpr double maxCents = 1200;

    /// Several: by frequency, as the engine chooses them. Short: one window of about 1,024 frames,
    /// which suits rates of about 15 kHz.
    enum class Windows { Several, Short };
    /// Normal: 0 cents for ever. Nothing is resampled, which saves a quarter of the work.
    enum class Pitch { Normal, Any };

    explicit Stretcher(int sampleRateHz, const std::stop_token& stop = {},
                       Windows windows = Windows::Several, Pitch pitch = Pitch::Any);
    ~Stretcher();

    /// Half the analysis window in frames: input to feed before the first frame meant to be heard.
    std::size_t pad() const noexcept { return pad_; }

    /// Clears all sound and restarts at this rate and pitch. discard() drops the first frames of
    /// the output.
    void reset(double rate, double cents);
    void discard(std::int64_t frames) noexcept { discard_ += frames; }

    /// Delay of the output: its frames before the one made of the input after `pad()` frames.
    std::int64_t startDelay() const noexcept;

    void setRate(double rate);
    void setCents(double cents);
    bool canTranspose() const noexcept { return pitch_ == Pitch::Any; }

    /// Feeds feedFrames interleaved stereo frames.
    void feed(const float* stereo);

    /// Frames that can be taken now.
    std::size_t available();

    /// Takes up to `frames` frames and returns how many.
    std::size_t take(float* stereo, std::size_t frames);

    /// Output frames since reset(), whether taken, discarded or waiting, plus half a window that is
    /// certain to follow. Compared with the frames due to find the drift.
    double committed() const noexcept;

    /// Corrects drift. `behindFrames`: frames due minus committed(), after the last feed().
    void correct(double behindFrames);

  private:
    void warmUp(const std::stop_token& stop);
    void applyRatio();
    int ready() const noexcept;
    void feedSine(double& phase, const std::stop_token& stop);
    void measureKept();
    void begin(double rate, double cents);

    static constexpr std::size_t takeFrames = 256;

    int sampleRateHz_;
    Pitch pitch_;
    std::unique_ptr<RubberBand::RubberBandStretcher> engine_;
    std::size_t pad_ = 0;
    double rate_ = 1;
    double correction_ = 0;       ///< relative, of the time ratio
    double mostBehind_ = 0;       ///< largest lag in the period observed, in frames
    double observed_ = 0;         ///< length of that period so far, in output frames
    std::int64_t keptFrames_ = 0; ///< at 0 cents: start delay beyond what the engine reports
    std::int64_t discard_ = 0;
    std::int64_t taken_ = 0; ///< since reset(), including discarded
    std::array<std::array<float, feedFrames>, 2> in_{};
    std::array<std::array<float, takeFrames>, 2> out_{};
};

} // namespace ambrel
