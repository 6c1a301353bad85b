#pragma once

#include <array>
#include <cstddef>

namespace ambrel {

/// Five peaking bands in series (Bristow-Johnson's biquads, double precision), on stereo, in place.
/// Owned by RenderThread.
///
/// Changes, and switching on or off, take 20 ms, so that nothing clicks. Bypassed, or with every
/// gain at 0 dB, samples are untouched.
///
/// Render thread only. Never allocates.
class EqualiserUnit {
  public:
    static constexpr int bandCount = 5;

    /// Any values are accepted: NaN and infinity as frequency or bandwidth disable the band, as
    /// gain they count as 0 dB; extreme values are limited. A band above what the sample rate can
    /// carry does nothing.
    struct Band {
        float frequencyHz = 1000;
        float bandwidthOctaves = 1;
        float gainDb = 0;

        bool operator==(const Band&) const = default;
    };
    using Bands = std::array<Band, bandCount>;

    /// Starts bypassed.
    explicit EqualiserUnit(int sampleRateHz);

    /// Sets the target. Cheap if nothing changed.
    void set(const Bands& bands, bool bypass) noexcept;

    /// Jumps to the last target and clears the filters.
    void reset() noexcept;

    void process(float* stereo, std::size_t frames) noexcept;

  private:
    struct Coefficients {
        double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
    };
    struct Filter {
        Coefficients now, step, target;
        std::array<std::array<double, 2>, 2> state{}; ///< per channel

        void towards(const Coefficients& to, int steps) noexcept;
        void glide(int stepsLeft) noexcept;
        double process(std::size_t channel, double in) noexcept;
    };

    Coefficients design(const Band& band) const noexcept;
    void clearState() noexcept;

    int sampleRateHz_;
    int rampFrames_;
    Bands bands_{};
    bool bypass_ = true;
    std::array<Filter, bandCount> filters_{};
    int glideLeft_ = 0; ///< frames until the coefficients reach their targets
    int wetFrames_ = 0; ///< 0: bypassed; rampFrames_: fully on
};

} // namespace ambrel
