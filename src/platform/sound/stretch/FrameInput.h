#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

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

    /// Where the run ends, as far as is known now; absent if the length given at its start never
    /// changes.
    virtual std::optional<std::int64_t> runEnd() noexcept { return std::nullopt; }
};

} // namespace ambrel
