#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

class AudioFile;

/// Frames of a file next to each other, as they were decoded: the unit of the cache.
struct FileBlock {
    static constexpr std::int64_t frameCount = 2048;

    std::int64_t file = 0;  ///< number of the file, as it was told to FileReader::open()
    std::int64_t index = 0; ///< its first frame is index × frameCount
    std::int64_t order = 0; ///< counts the requests
    bool isFilled = false;  ///< false where the request was dropped
    bool isWhole = false;   ///< false where a part did not decode and is silence
    std::array<float, 2 * frameCount> stereo;
};

/// Decodes blocks of a file on a thread of its own, in the order in which they are asked for. It
/// knows nothing of what they are needed for.
///
/// Frames outside the file, and those that do not decode, are silence. Samples that are no numbers
/// are silence too, and none is larger than 1,000 times full scale, so that one broken sample
/// cannot spoil the filters behind.
class FileReader {
  public:
    /// Blocks that can be on their way at a time.
    static constexpr std::size_t mostRequests = 32;

    /// `filled` is signalled with each block that comes back. `paced`: a device plays them, so that
    /// the thread rests most of the time and may run at real-time priority.
    FileReader(WakeUp& filled, bool paced);
    ~FileReader();

    /// Requests for `number` are served from this file from now on, others dropped. Any thread;
    /// never waits for the disk. `file` may be none.
    void open(std::shared_ptr<AudioFile> file, std::int64_t number);

    /// @name One thread, which never waits here
    /// @{

    /// Asks for `block`, whose file, index and order are set. It belongs to the reader until take()
    /// gives it back. False if too many are on their way.
    bool ask(FileBlock& block) noexcept;

    /// A block that was asked for and comes back; nullptr with none.
    FileBlock* take() noexcept;

    /// Requests before `order` that have not begun are dropped.
    void dropBefore(std::int64_t order) noexcept { dropBefore_ = order; }

    /// @}

  private:
    using Queue = boost::lockfree::spsc_queue<FileBlock*, boost::lockfree::capacity<mostRequests>>;

    void run();
    void fill(FileBlock& block);
    std::size_t decode(std::int64_t first, float* stereo, std::size_t frames);

    WakeUp& filledWake_;
    bool paced_;
    WakeUp wake_;
    Queue asked_, done_;
    std::size_t onTheirWay_ = 0; ///< the asking thread's
    std::atomic<std::int64_t> dropBefore_{0};
    std::atomic<bool> ending_{false};

    std::mutex mutex_; ///< guards what follows
    std::shared_ptr<AudioFile> opened_;
    std::int64_t openedNumber_ = 0;
    bool isNew_ = false;

    // The reading thread's.
    std::shared_ptr<AudioFile> file_;
    std::int64_t number_ = 0;
    std::vector<float> mono_;

    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
