#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/sound/attack/Spectrum.h"
#include "platform/sound/stretch/RunInput.h"
#include "platform/sound/stretch/Stretch.h"

namespace ambrel {

/// Gives stretched sound back the steps that its levels had at attacks.
///
/// Even without its attack, sound gets louder there at once, in some bands. A stretcher spreads
/// that over its window: the band is heard too early, and its beginning too softly. Around each
/// attack and in each band that rises there, the level is set to what it was in the unstretched
/// rest, on the same side of the attack. Elsewhere the frames pass unchanged.
///
/// One of each stretching voice; render thread only. Allocates in the constructor only.
class StepRestorer {
  public:
    StepRestorer(RunInput& input, int sampleRateHz);

    /// Begins anew: the next frame added is output frame `first`.
    void begin(std::int64_t first) noexcept;

    /// How many frames beyond the next `frames` must have been added before those can be taken.
    std::size_t lookAhead(std::size_t frames, const Stretch& stretch) const noexcept;

    /// Frames added and not taken.
    std::size_t held() const noexcept { return static_cast<std::size_t>(stretched_.end() - next_); }

    void add(const float* stereo, std::size_t frames) noexcept { stretched_.add(stereo, frames); }

    /// Takes the next `frames` frames.
    void take(float* stereo, std::size_t frames, const Stretch& stretch) noexcept;

  private:
    using Bands = std::array<float, Spectrum::bandCount>;
    struct Hop {
        std::int64_t number = -1;
        Bands energies{};
    };
    /// What lies around a place of the output.
    struct Nearest {
        double distance = 0; ///< of the onset of the nearest attack, in output frames
        double onset = 0;    ///< that and its neighbours', in input frames
        double previous = 0;
        double next = 0;
    };

    double zone(double rate) const noexcept;
    bool isNear(std::int64_t from, std::int64_t to, const Stretch& stretch) const noexcept;
    bool findNearest(double output, const Stretch& stretch, Nearest& nearest) const noexcept;
    void restore(std::int64_t hop, const Stretch& stretch) noexcept;
    bool gainsAt(std::int64_t hop, const Stretch& stretch, Bands& gains) noexcept;
    Bands stretchedEnergies(std::int64_t hop) noexcept;
    Bands restEnergies(std::int64_t hop, double pitch) noexcept;
    Bands energiesOf(const float* stereo, double pitch) noexcept;
    Bands meanRest(std::int64_t hop, int step, int count, double pitch) noexcept;

    RunInput& input_;
    int sampleRateHz_;
    Spectrum spectrum_;
    std::int64_t size_, hop_;
    FrameHistory stretched_;
    std::int64_t next_ = 0;          ///< output frame that is taken next
    std::int64_t nextHop_ = 0;       ///< that is restored next
    std::vector<float> corrections_; ///< of the frames to come, added to them
    std::array<Hop, 16> stretchedHops_;
    std::array<Hop, 256> restHops_;
    double restPitch_ = 1; ///< that they were measured for
    std::vector<float> stereo_, mono_;
    std::vector<Spectrum::Bin> bins_;
    std::vector<float> powers_; ///< up to and without a bin
};

} // namespace ambrel
