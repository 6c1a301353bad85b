#pragma once

#include "platform/sound/AudioOutput.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Who takes frames from the source.
enum class RenderTurn { device, clock };

/// Gives either the device or the stand-in clock access to a FrameSource, and counts the frames.
///
/// Whoever does not have the turn is refused and plays silence. The source is never called by two
/// threads at once, never rendered while it prepares, and never called after close() has returned.
///
/// render() never waits, so a device callback may call it. All other functions may wait as long as
/// the source takes to render or prepare; any thread may call them.
class RenderGate {
  public:
    void open(FrameSource& source);

    /// The source is never called afterwards.
    void close();

    /// Prepares the source for a sample rate and a largest request, unless it already is.
    /// Exceptions of the source are passed on; it then counts as not prepared.
    void prepare(int sampleRateHz, std::size_t largestRequest);

    /// The same, only if it has never been prepared.
    void prepareIfNever(int sampleRateHz, std::size_t largestRequest);

    void giveTurn(RenderTurn turn);

    /// Fills `frames` interleaved stereo frames, in requests no larger than the source was prepared
    /// for. Returns the number of the first, counted from the first ever rendered. Absent, with
    /// nothing written, if the other has the turn or the source is being prepared, not prepared for
    /// `sampleRateHz`, or closed.
    std::optional<std::int64_t> render(RenderTurn turn, int sampleRateHz, float* stereo,
                                       std::size_t frames) noexcept;

    /// Frames rendered so far.
    std::int64_t rendered() const noexcept { return rendered_.load(std::memory_order_acquire); }

    RenderTurn turn() const noexcept { return turn_.load(std::memory_order_acquire); }

    /// The rate the source is prepared for; 0 if it is not.
    int sampleRateHz() const noexcept { return sampleRateHz_.load(std::memory_order_acquire); }

  private:
    class Hold;

    void prepareInside(int sampleRateHz, std::size_t largestRequest);
    bool tryEnter() noexcept;
    void leave() noexcept;

    std::atomic<bool> entered_ = false;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<int> sampleRateHz_ = 0;
    std::atomic<RenderTurn> turn_ = RenderTurn::device;

    // Used only by the thread that has entered.
    FrameSource* source_ = nullptr;
    std::size_t largestRequest_ = 0;
};

} // namespace ambrel
