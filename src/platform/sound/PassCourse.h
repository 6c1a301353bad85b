#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ambrel {

/// What follows a pass through a region, and each pass after it, as long as nothing else is said.
struct Continuation {
    static constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

    std::int64_t startFrame = 0;     ///< of the file
    std::int64_t frameCount = 0;     ///< in a pass, above 0
    double pauseSeconds = 0;         ///< of silence before each pass; 0: no seam
    std::int64_t passes = unlimited; ///< how many follow, above 0

    bool operator==(const Continuation&) const = default;
};

/// Equal passes in a row, without a seam.
struct Passes {
    std::int64_t begin = 0; ///< the run's frame at which the first begins
    std::int64_t startFrame = 0;
    std::int64_t frameCount = 0;
    std::int64_t count = 1;
    std::int64_t firstPass = 0; ///< number of the first, counted from the segment's first
    double pauseSeconds = 0;    ///< of silence before each, as it was asked for

    /// The run's frame at which the last one ends; PassCourse::open if it never does.
    std::int64_t end() const noexcept;
    /// The run's frame at which the pass ends that `frame` lies in.
    std::int64_t boundaryAfter(std::int64_t frame) const noexcept;
};

/// Which pass lies where in a run, that is, in a stretch of sound without a pause. Frames are the
/// file's, counted from the run's first.
class PassCourse {
  public:
    /// The end of a run that goes on for ever.
    static constexpr std::int64_t open = 1'000'000'000'000'000;
    /// As many different regions as the sound on its way to the loudspeaker can hold, and more.
    static constexpr std::size_t mostKept = 16;

    /// One pass.
    explicit PassCourse(const Passes& first) : passes_{first} {}

    std::int64_t end() const noexcept { return passes_.back().end(); }

    /// The passes that `frame` belongs to; the last of all behind the end.
    const Passes& at(std::int64_t frame) const noexcept;

    /// What begins at `boundary`; nullptr if the run ends there.
    const Passes* from(std::int64_t boundary) const noexcept;

    /// The number of the pass that begins at `boundary`.
    std::int64_t passFrom(std::int64_t boundary) const noexcept;

    /// Lets the run end at a pass's end.
    void endAt(std::int64_t boundary);

    /// Lets `next` follow at a pass's end, instead of what followed there.
    void follow(std::int64_t boundary, const Continuation& next);

  private:
    std::vector<Passes> passes_; ///< in order, one at least, mostKept at most
};

} // namespace ambrel
