#pragma once

#include <cstddef>
#include <vector>

#include "platform/sound/attack/RunAttack.h"
#include "platform/sound/stretch/RunInput.h"
#include "platform/sound/stretch/Stretch.h"

namespace ambrel {

/// Puts the attacks of a run back into its stretched rest: each once, unstretched, with its onset
/// where that of the stretched sound would be heard. Transposed, it is resampled.
///
/// One of each stretching voice; render thread only. Allocates in the constructor only.
class AttackPlayer {
  public:
    explicit AttackPlayer(const RunInput& input);

    /// Begins anew, with output frame 0.
    void begin() noexcept { placed_.clear(); }

    /// Adds what belongs to output frames `first` to `first + frames`.
    void add(std::int64_t first, float* stereo, std::size_t frames, const Stretch& stretch);

  private:
    /// An attack whose place is settled.
    struct Placed {
        std::shared_ptr<const Attack> attack;
        std::int64_t shift = 0;
        double output = 0; ///< the output frame of its onset
    };
    /// Points on either side of the kernel of a resampled attack, and steps between two of them.
    static constexpr int lobes = 8, steps = 128;
    static constexpr std::size_t mostPlaced = 64;

    double place(const RunAttack& attack, const TimeMap& map);
    void mix(const RunAttack& attack, double from, float* stereo,
             std::size_t frames) const noexcept;
    void sample(const RunAttack& attack, double at, float* stereo) const noexcept;
    void addFrame(const RunAttack& attack, std::int64_t frame, float weight,
                  float* stereo) const noexcept;

    const RunInput& input_;
    double step_ = 1;  ///< frames of an attack from one output frame to the next
    float louder_ = 1; ///< how far it is to be what is played, 1, or what was removed, 0
    std::vector<Placed> placed_;
    std::vector<float> kernel_; ///< half of a windowed sinc
};

} // namespace ambrel
