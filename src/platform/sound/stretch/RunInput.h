#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/sound/stretch/FrameHistory.h"
#include "platform/sound/stretch/FrameInput.h"

namespace ambrel {

/// The frames of a run as the voices read them, each at a place of its own: the most recent ones,
/// as they are and without the attacks that have been lifted out, and what a stretcher is fed
/// before and after the run for half its window.
///
/// Silence there would be a step in the signal, which the stretcher spreads into a click. The
/// file's own sound would let an attack just after the region be heard early. Instead, the sound
/// next to the edge is repeated at its best autocorrelation lag.
///
/// Owned by TimePitchUnit; render thread only. Allocates in the constructor only.
class RunInput {
  public:
    /// Keeps `history` frames. `span`: frames next to an edge that are analysed.
    RunInput(std::size_t history, std::size_t span);

    /// Begins a run, whose source must live until the next one begins.
    void begin(FrameInput& source) noexcept;

    /// Frames from `frame` on have changed: the source delivers them again.
    void rewind(std::int64_t frame) noexcept;

    std::int64_t length() const noexcept { return source_ ? source_->runEnd() : 0; }

    /// Takes what is missing from the source; returns how many of the `frames` frames from `from`
    /// on can be copied now.
    std::size_t fetch(std::int64_t from, std::size_t frames) noexcept;

    /// Copies frames of the sound that have been fetched, inside the run.
    void copySound(std::int64_t from, float* stereo, std::size_t frames) const noexcept {
        for (std::size_t i = 0; i < frames; ++i)
            sound_.copy(from + static_cast<std::int64_t>(i), stereo + 2 * i);
    }

    /// The same without its attacks, inside or outside the run.
    void copyRest(std::int64_t from, float* stereo, std::size_t frames) noexcept;

    /// The sum of the channels of a fetched frame of the sound inside the run.
    float mono(std::int64_t frame) const noexcept { return sound_.mono(frame); }

    /// As for FrameInput.
    std::span<const RunAttack> attacks() const noexcept {
        return source_ ? source_->attacks() : std::span<const RunAttack>();
    }
    double attackFrames() const noexcept { return source_->attackFrames(); }

  private:
    struct Edge {
        std::int64_t inwards;   ///< 1 or −1: the direction of the run as seen from the edge
        std::int64_t frame = 0; ///< the run's frame at the edge
        std::int64_t lag = 0;   ///< frames; 0: not analysed yet
        float step[2] = {0, 0}; ///< offset that joins the repetition to the run, per channel
        std::int64_t at(std::int64_t distance) const noexcept { return frame + inwards * distance; }
    };

    void extend(Edge& edge, std::int64_t frame, std::int64_t beyond, float* stereo) noexcept;
    void analyse(Edge& edge) noexcept;
    std::int64_t bestLag() const noexcept;

    FrameInput* source_ = nullptr;
    FrameHistory sound_, rest_;
    std::size_t span_;
    std::vector<float> near_; ///< mono, from the edge inwards
    Edge begin_{1}, end_{-1};
};

} // namespace ambrel
