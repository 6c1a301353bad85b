#pragma once

#include "platform/sound/AudioOutput.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Who takes frames from the source.
enum class Puller { nobody, device, clock };

/// Gives one puller at a time access to a FrameSource, and counts the frames.
///
/// Any other is refused and plays silence. The source is never called by two threads at once, never
/// rendered while it prepares, and never called after close() has returned.
///
/// render() never waits, so a device callback may call it. open(), close() and the prepare
/// functions may wait as long as the source takes to render or prepare. Any thread may call all of
/// them.
class SourceAccess {
  public:
    void open(FrameSource& source);

    /// The source is never called afterwards.
    void close();

    /// Prepares the source. Its exceptions are passed on; it then counts as not prepared.
    void prepare(int sampleRateHz, std::size_t request);

    /// The same, only if it has never been prepared.
    void prepareIfNever(int sampleRateHz, std::size_t request);

    bool isPreparing() const noexcept { return preparing_; }

    void setPuller(Puller puller) noexcept { puller_ = puller; }
    Puller puller() const noexcept { return puller_; }

    /// Fills `frames` interleaved stereo frames. Returns the number of the first, counted from the
    /// first ever rendered. Absent, with nothing written, if another is the puller or the source is
    /// being prepared, not prepared for `sampleRateHz`, or closed.
    std::optional<std::int64_t> render(Puller puller, int sampleRateHz, float* stereo,
                                       std::size_t frames) noexcept;

    /// Frames rendered so far.
    std::int64_t rendered() const noexcept { return rendered_; }

    /// The rate the source is prepared for; 0 if it is not.
    int sampleRateHz() const noexcept { return sampleRateHz_; }

  private:
    class Hold;

    void prepareHeld(int sampleRateHz, std::size_t request);

    std::atomic<bool> held_ = false;
    std::atomic<bool> preparing_ = false;
    std::atomic<std::int64_t> rendered_ = 0;
    std::atomic<int> sampleRateHz_ = 0;
    std::atomic<Puller> puller_ = Puller::nobody;

    FrameSource* source_ = nullptr; ///< used only by the thread that holds the access
};

} // namespace ambrel
