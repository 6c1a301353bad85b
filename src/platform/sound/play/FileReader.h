#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <boost/lockfree/spsc_queue.hpp>

#include "platform/sound/attack/AttackFinder.h"
#include "platform/sound/thread/WakeUp.h"

namespace ambrel {

class AudioFile;

/// A block of consecutive decoded file frames: the unit of the cache.
struct FileBlock {
    static constexpr std::int64_t frameCount = 2048;

    std::int64_t file = 0;  ///< number of the file, as passed to FileReader::open()
    std::int64_t index = 0; ///< its first frame is index × frameCount
    std::int64_t order = 0; ///< running number of the read request
    enum class Wanted { frames, attacks };
    Wanted wanted = Wanted::frames;
    bool isFilled = false; ///< false if the request was dropped
    bool isWhole = false;  ///< false if part of it could not be decoded and is silent
    std::array<float, 2 * frameCount> stereo;
    std::vector<std::shared_ptr<const Attack>> attacks; ///< found in these frames, once asked for
};

/// Decodes blocks of a file on its own thread, in the order asked for, and finds the attacks in
/// them, for which it decodes what lies around them; the latest of these blocks are kept and not
/// decoded again. Owned by the graph.
///
/// Frames outside the file, and those that cannot be decoded, are silence; so are NaN and infinity.
/// Samples are limited to 1,000 times full scale, so that a broken one cannot blow up the filters
/// that follow.
class FileReader {
  public:
    /// Blocks that can be pending at a time.
    static constexpr std::size_t mostRequests = 32;

    /// `filled` is signalled for each block that is returned. `paced`: a device determines the
    /// pace, so the thread is mostly idle and may run at real-time priority.
    FileReader(WakeUp& filled, bool paced);
    ~FileReader();

    /// Blocks of file number `number` are read from this file from now on; others are dropped.
    /// `file` may be null. Any thread; never waits for the disk.
    void open(std::shared_ptr<AudioFile> file, std::int64_t number);

    /// @name The render thread; none of these waits
    /// @{

    /// Asks for `block`, with file, index, order and what is wanted set. The reader owns it until
    /// take() returns it, but for its frames where only attacks are wanted. False if too many are
    /// pending.
    bool ask(FileBlock& block) noexcept;

    /// The next returned block, or nullptr.
    FileBlock* take() noexcept;

    /// Drops pending blocks with an order below this that have not been started.
    void dropBefore(std::int64_t order) noexcept { dropBefore_ = order; }

    /// @}

  private:
    using Queue = boost::lockfree::spsc_queue<FileBlock*, boost::lockfree::capacity<mostRequests>>;

    void run();
    void serve(FileBlock& block);
    void fill(FileBlock& block);
    void findAttacks(FileBlock& block);
    const FileBlock& decoded(std::int64_t index);
    std::size_t decode(std::int64_t first, float* stereo, std::size_t frames);

    WakeUp& filledWake_;
    bool paced_;
    WakeUp wake_;
    Queue asked_, done_;
    std::size_t onTheirWay_ = 0; ///< used by the render thread only
    std::atomic<std::int64_t> dropBefore_{0};
    std::atomic<bool> ending_{false};

    std::mutex mutex_; ///< guards what follows
    std::shared_ptr<AudioFile> opened_;
    std::int64_t openedNumber_ = 0;
    bool isNew_ = false;

    // Used by the decode thread only.
    std::shared_ptr<AudioFile> file_;
    std::int64_t number_ = 0;
    std::vector<float> mono_;
    std::optional<AttackFinder> finder_; ///< for the file's rate; none before it is needed
    std::vector<FileBlock> recent_;      ///< decoded last: block i is at i modulo their number
    std::vector<float> surroundings_;    ///< of a block

    std::thread thread_; ///< last: everything above is there before it runs
};

} // namespace ambrel
