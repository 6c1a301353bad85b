#pragma once

#include <array>
#include <cstddef>

namespace ambrel {

/// Peaking bands (Bristow-Johnson's biquads, double precision) in a row, in place, on stereo.
///
/// A change of a band takes 20 ms, and so does switching on or off, so nothing clicks. Bypassed,
/// and with every gain at 0 dB, the sound is left alone bit for bit.
///
/// One thread at a time, the render thread. Never allocates.
class EqualiserUnit {
  public:
    static constexpr int bandCount = 5;

    /// Takes any numbers: a frequency or bandwidth that is none leaves the sound alone, a gain that
    /// is none counts as 0 dB, and absurd ones are bounded. A band whose centre is above what the
    /// sample rate can carry does nothing.
    struct Band {
        float frequencyHz = 1000;
        float bandwidthOctaves = 1;
        float gainDb = 0;

        bool operator==(const Band&) const = default;
    };
    using Bands = std::array<Band, bandCount>;

    /// Starts bypassed.
    explicit EqualiserUnit(int sampleRateHz);

    /// What is to be heard from now on. Cheap when nothing changed.
    void set(const Bands& bands, bool bypass) noexcept;

    /// Jumps to what was set last and forgets the sound before: what comes is heard as from a
    /// fresh start.
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
    int glideLeft_ = 0; ///< frames until the coefficients have arrived
    int wetFrames_ = 0; ///< 0: bypassed; rampFrames_: fully on
};

} // namespace ambrel
