#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ambrel::bench {

/// Listens to a steady tone for what it should not have: clicks, gaps, drops of level, and sound
/// where there should be none.
class ToneChecker {
  public:
    /// What is known about a frame before it is heard.
    struct Expectation {
        bool isPlaying = false; ///< the tone is, or is on its way
        bool isSteady = false;  ///< and nothing may interrupt it
        bool isSmooth = false;  ///< nor bend it more than itself
    };

    explicit ToneChecker(int sampleRateHz);

    /// It was started, paused or stopped: what is heard fades.
    void expectFade() noexcept { sinceFade_ = 0; }

    /// What is wrong with the next frame's sample; empty if nothing is.
    std::string check(float sample, const Expectation& expected);

  private:
    std::string checkLevel(float sample);

    std::int64_t fade_;    ///< frames
    std::int64_t settled_; ///< frames after which a stretcher has its level
    std::int64_t sinceFade_ = 0;
    std::int64_t silentFor_ = 0;
    float before_[2] = {0, 0};  ///< the newest samples
    std::vector<float> window_; ///< the newest 20 ms
    std::size_t windowAt_ = 0;
    double energy_ = 0; ///< of the window
};

} // namespace ambrel::bench
