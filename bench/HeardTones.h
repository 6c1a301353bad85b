#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ambrel::test {

/// The looped tones as a sink played them.
struct Recording {
    int sampleRateHz = 0;
    std::vector<float> left;
    std::vector<float> right; ///< none of a mono sink
};

/// What is heard in 20 ms.
struct HeardWindow {
    double levelDb = 0;      ///< of the weaker tone, 0: as loud as it should be
    double excessDb = 0;     ///< of the stronger one
    double lowPhase = 0;     ///< radians; steady while the pitch is right
    double placeSeconds = 0; ///< in the pass, 0 to 1
    bool isBent = false;     ///< more sharply than the tones bend by themselves
};

/// Looks at recorded tones through windows of 20 ms, 10 ms apart.
class HeardTones {
  public:
    explicit HeardTones(const Recording& recording);

    std::size_t windowFrames() const noexcept { return window_; }
    std::size_t hopFrames() const noexcept { return window_ / 2; }

    /// The window that begins with frame `from`.
    HeardWindow at(std::size_t from) const;

    /// Whether the tones can be heard there.
    bool isSounding(std::size_t from) const;

    struct Findings {
        double cents = 0;   ///< off the pitch, the middle of all tenths of a second
        double levelDb = 0; ///< off the level in the worst window that is no glitch, either side
        int glitches = 0;   ///< clicks and gaps: windows in a row that are bent or off the level
        double slipSeconds = 0; ///< most that the place was off from where it began
    };
    /// Of the frames from `from` on.
    Findings examine(std::size_t from) const;

  private:
    double sideDb(std::size_t from) const;

    const Recording& recording_;
    double amplitude_; ///< wanted
    std::size_t window_;
    double largestBend_; ///< bend that the tones may have
};

} // namespace ambrel::test
