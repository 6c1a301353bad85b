#pragma once

#include "platform/sound/AudioOutput.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Who asks the source for frames: a sound device, or the clock that stands in for one.
enum class RenderTurn { device, clock };

/// Stands between one FrameSource and the threads that may ask it for frames, and counts them.
///
/// One of them has the turn; the other is refused and plays silence. The source is never called by
/// two threads at once, nor rendered while it prepares, nor called once close() has returned.
///
/// render() never waits, so that a device callback may call it; everything else may, for as long
/// as the source takes to render or to prepare.
class RenderGate {
  public:
    void open(FrameSource& source);

    /// Afterwards the source is never called again. Any thread.
    void close();

    /// Prepares the source for a rate and a largest request, unless it is prepared for them. Throws
    /// what the source throws, which is prepared for nothing then.
    void prepare(int sampleRateHz, std::size_t largestRequest);

    /// The same, unless it is prepared for any rate or is about to be.
    void prepareIfNever(int sampleRateHz, std::size_t largestRequest);

    void giveTurn(RenderTurn turn);

    /// Fills `frames` interleaved stereo frames, in requests no larger than the source was prepared
    /// for. Returns the number of the first one, counted from the first ever rendered. Absent, with
    /// nothing written, when the other has the turn, or the source is not prepared for
    /// `sampleRateHz`, is preparing or is gone.
    std::optional<std::int64_t> render(RenderTurn turn, int sampleRateHz, float* stereo,
                                       std::size_t frames) noexcept;

    /// Frames rendered so far.
    std::int64_t rendered() const noexcept { return rendered_.load(std::memory_order_acquire); }

    RenderTurn turn() const noexcept { return turn_.load(std::memory_order_acquire); }

    /// The rate the source is prepared for; 0 before that, and when that has failed.
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

    // Read and written by the thread that has entered.
    FrameSource* source_ = nullptr;
    std::size_t largestRequest_ = 0;
};

} // namespace ambrel
