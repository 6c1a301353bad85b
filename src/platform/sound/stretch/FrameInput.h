#pragma once

#include <cstddef>
#include <cstdint>

namespace ambrel {

/// Where a processing stage pulls its stereo frames from. Render thread only.
class FrameInput {
  public:
    /// The length of an endless run, in frames.
    static constexpr std::int64_t endless = 1'000'000'000'000'000;

    virtual ~FrameInput() = default;

    /// Fills up to `frames` interleaved stereo frames and returns how many were available. Never
    /// waits.
    virtual std::size_t read(float* stereo, std::size_t frames) noexcept = 0;

    /// Where the run ends, as far as is known now.
    virtual std::int64_t runEnd() const noexcept = 0;
};

} // namespace ambrel
