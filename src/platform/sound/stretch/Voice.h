#pragma once

#include <cstddef>
#include <optional>

namespace ambrel {

/// One way of making a run heard, from any of its frames on. TimePitchUnit plays one voice and
/// crossfades to another. Render thread only; allocates in constructors only.
class Voice {
  public:
    /// The most frames prepared and taken at a time.
    static constexpr std::size_t blockFrames = 64;

    virtual ~Voice() = default;

    /// Speed and transposition from the next frame made on.
    virtual void set(double rate, double cents) = 0;
    double rate() const noexcept { return rate_; }
    double cents() const noexcept { return cents_; }

    /// Gets ready to take over at `position`, with `frames` frames, for which a stretcher is fed no
    /// more than about `mostInput` frames. Returns the correlation with what has been heard, or
    /// nothing if it takes longer.
    virtual std::optional<double> lineUp(double position, std::size_t frames, double mostInput) = 0;

    /// Made of frames that have been replaced since.
    virtual bool isOutdated() const noexcept = 0;

    /// The input frame that the next frame is heard as.
    virtual double position() const noexcept = 0;

    /// Frames left in the run if the rate stays.
    virtual double framesLeft() const noexcept = 0;

    /// Gets up to `frames` frames ready and returns how many are: fewer when the source has no
    /// more now. May go beyond the end of the run.
    virtual std::size_t prepare(std::size_t frames) = 0;

    /// Takes `frames` frames, which must be ready.
    virtual void take(float* stereo, std::size_t frames) = 0;

  protected:
    double rate_ = 1;
    double cents_ = 0;
};

} // namespace ambrel
