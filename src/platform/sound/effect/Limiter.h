#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <boost/circular_buffer.hpp>

namespace ambrel {

/// Keeps stereo sound within full scale. Both channels share one gain, which comes down smoothly
/// before a peak, stays there for half a period of 20 Hz, and takes 0.5 s for the whole way back,
/// so that a steady tone is not bent. Where it is 1, samples are untouched.
///
/// Nothing is delayed: see() is shown frames as they are made, and they wait outside until apply()
/// knows their gain. One thread. Allocates only if more than 1,024 frames wait.
class Limiter {
  public:
    explicit Limiter(int sampleRateHz);

    /// Back to a gain of 1; the frames that wait are forgotten.
    void reset() noexcept;

    void see(const float* stereo, std::size_t frames);

    /// Silence follows, or sound that fades in: apply() waits for nothing more.
    void seeEnd();

    /// Scales the oldest frames that wait. False, without effect, until lookAhead() frames after
    /// them have been seen, or their end.
    bool apply(float* stereo, std::size_t frames) noexcept;

    /// Frames seen that apply() has not scaled.
    std::size_t waiting() const noexcept { return undecided_ + gains_.size(); }

    std::size_t lookAhead() const noexcept { return 2 * first_.last.size() - 2; }

  private:
    /// The sum of the last values.
    struct RunningSum {
        std::vector<std::int64_t> last;
        std::int64_t sum = 0;

        void fill(std::int64_t value) noexcept;
        std::int64_t add(std::int64_t value, std::size_t at) noexcept {
            return sum += value - std::exchange(last[at], value);
        }
    };

    float advance(float peak) noexcept;
    void decide(float gain);

    // Gains are whole numbers, so that sums of them are exact, and exactly 1 in the end.
    static constexpr std::int64_t one = std::int64_t{1} << 40;

    std::int64_t step_;            ///< upwards, each frame
    std::size_t window_;           ///< a peak counts for so many frames, at most twice as many
    std::size_t inWindow_;         ///< frames of the current window
    std::int64_t low_, lowBefore_; ///< lowest gain that a frame in it, and in the one before, needs
    std::int64_t envelope_;        ///< the gain before it is smoothed
    /// The mean of a mean, over as many frames as are looked ahead.
    RunningSum first_, second_;
    std::size_t at_;                      ///< their oldest value
    std::size_t undecided_;               ///< the newest frames seen, at most lookAhead()
    boost::circular_buffer<float> gains_; ///< of the frames seen before
};

} // namespace ambrel
