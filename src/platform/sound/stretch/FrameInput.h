#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Where a stage pulls its frames from.
class FrameInput {
  public:
    /// The length of what has no end.
    static constexpr std::int64_t endless = 1'000'000'000'000'000;

    virtual ~FrameInput() = default;

    /// Fills up to `frames` interleaved stereo frames and returns how many there were. Never waits.
    virtual std::size_t read(float* stereo, std::size_t frames) noexcept = 0;

    /// Where what is read ends, as is known now; absent where that never changes.
    virtual std::optional<std::int64_t> runEnd() noexcept { return std::nullopt; }
};

} // namespace ambrel
