#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/sound/attack/RunAttack.h"

namespace ambrel {

/// Where a processing stage pulls its stereo frames from. Render thread only.
class FrameInput {
  public:
    /// The length of an endless run, in frames.
    static constexpr std::int64_t endless = 1'000'000'000'000'000;

    virtual ~FrameInput() = default;

    /// Fills up to `frames` interleaved stereo frames and returns how many were available: the
    /// sound, and what is left of it when attacks have been lifted out. Never waits.
    virtual std::size_t read(float* sound, float* rest, std::size_t frames) noexcept = 0;

    /// The attacks lifted out of what has been read, in order; older ones may be missing.
    virtual std::span<const RunAttack> attacks() const noexcept { return {}; }

    /// Frames of an attack in a frame of the run.
    virtual double attackFrames() const noexcept { return 1; }

    /// Where the run ends, as far as is known now.
    virtual std::int64_t runEnd() const noexcept = 0;
};

} // namespace ambrel
