#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/sound/play/FileReader.h"

namespace ambrel {

/// Frames of the file that plays, by their number in the file: those that will be needed soon, and
/// as many of those that were needed lately as there is room for. A region that fits stays whole,
/// so that a loop reads the disk once.
///
/// One thread. Never waits: what is not there yet is asked of the reader. Allocates in the
/// constructor only.
class FrameCache {
  public:
    explicit FrameCache(FileReader& reader);

    /// From now on frames are those of file `number`, which has `length`. What was asked for before
    /// is no longer urgent; of what did not decode, the file may have been written anew.
    void begin(std::int64_t number, std::int64_t length) noexcept;

    /// Takes over what has been read, and begins to count anew what is wanted.
    void update() noexcept;

    /// These frames are needed soon, and less soon than what was wanted since update().
    void want(std::int64_t first, std::int64_t frames) noexcept;

    /// Whether all is there that was wanted since update().
    bool isComplete() const noexcept { return !isMissing_; }

    /// Whether these frames are there. Frames outside the file always are, as silence.
    bool has(std::int64_t first, std::int64_t frames) const noexcept;

    /// Copies up to `frames` frames and returns how many: fewer where the next is not there yet.
    std::size_t read(std::int64_t first, float* stereo, std::size_t frames) const noexcept;

  private:
    /// A block may lie in any of the ways of the set that its index falls to.
    static constexpr std::size_t sets = 64, ways = 8;

    struct Slot {
        enum class State { empty, asked, filled };
        State state = State::empty;
        std::int64_t file = 0;
        std::int64_t index = 0;
        std::int64_t wantedIn = 0; ///< the last round of wants that it was part of
        bool isWhole = false;
    };
    using Set = std::array<Slot, ways>;

    const Slot* find(std::int64_t index) const noexcept;
    const FileBlock& blockOf(const Slot& slot) const noexcept;
    void ask(std::int64_t index) noexcept;
    void forgetBroken() noexcept;

    FileReader& reader_;
    std::array<Set, sets> slots_{};
    std::unique_ptr<FileBlock[]> blocks_; ///< one for each slot, in order
    std::int64_t file_ = 0;
    std::int64_t length_ = 0;
    std::int64_t round_ = 1;
    std::int64_t asked_ = 0;
    bool isMissing_ = false;
};

} // namespace ambrel
