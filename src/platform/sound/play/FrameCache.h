#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/sound/play/FileReader.h"

namespace ambrel {

/// Cache of the current file's decoded frames: those needed soon, and as many of the recently
/// needed as fit (23 s at 44,100 Hz). A loop that fits is read from the disk once.
///
/// Render thread only; never waits: missing blocks are asked of the reader. Allocates in the
/// constructor only.
class FrameCache {
  public:
    explicit FrameCache(FileReader& reader);

    /// Switches to file `number`, of `length` frames. Earlier wants are dropped. Blocks that could
    /// not be decoded completely are read again: the file may have been rewritten.
    void begin(std::int64_t number, std::int64_t length) noexcept;

    /// Switches to a file for reading ahead, unless it is the current one.
    void resume(std::int64_t number, std::int64_t length) noexcept {
        if (number != file_)
            begin(number, length);
    }

    /// Takes blocks that have been decoded, and starts a new list of wanted frames.
    void update() noexcept;

    /// Wants these frames, less urgently than those wanted since update(), and if `attacks`, then
    /// also those to be found in them.
    void want(std::int64_t first, std::int64_t frames, bool attacks) noexcept;

    /// Whether everything wanted since update() is in the cache.
    bool isComplete() const noexcept { return !isMissing_; }

    /// Whether these frames are in the cache. Frames outside the file always are, as silence.
    bool has(std::int64_t first, std::int64_t frames) const noexcept;

    /// Calls visit(const std::shared_ptr<const Attack>&) for each attack that has been found in
    /// blocks with any of these frames, in order.
    template <typename Visit>
    void visitAttacks(std::int64_t first, std::int64_t frames, Visit visit) const {
        for (std::int64_t index = std::max<std::int64_t>(0, first) / FileBlock::frameCount;
             index * FileBlock::frameCount < first + frames; ++index) {
            const Slot* slot = find(index);
            if (slot && slot->search == Slot::Search::done)
                for (const auto& attack : blockOf(*slot).attacks)
                    visit(attack);
        }
    }

    /// Copies up to `frames` frames and returns how many: fewer if the next one is missing.
    std::size_t read(std::int64_t first, float* stereo, std::size_t frames) const noexcept;

  private:
    /// Set-associative: a block may be in any way of the set that its index maps to.
    static constexpr std::size_t sets = 64, ways = 8;
    /// At a time: frames that become urgent do not wait for more.
    static constexpr int mostSearches = 2;

    struct Slot {
        enum class State { empty, asked, filled };
        State state = State::empty;
        enum class Search { none, asked, done };
        Search search = Search::none; ///< for attacks
        std::int64_t file = 0;
        std::int64_t index = 0;
        std::int64_t wantedIn = 0; ///< the last update() round in which it was wanted
        bool isWhole = false;
    };
    using Set = std::array<Slot, ways>;

    const Slot* find(std::int64_t index) const noexcept;
    const FileBlock& blockOf(const Slot& slot) const noexcept;
    void ask(std::int64_t index) noexcept;
    void askForAttacks(Slot& slot) noexcept;
    void forgetBroken() noexcept;

    FileReader& reader_;
    std::array<Set, sets> slots_{};
    std::unique_ptr<FileBlock[]> blocks_; ///< one for each slot, in order
    std::int64_t file_ = 0;
    std::int64_t length_ = 0;
    std::int64_t round_ = 1;
    std::int64_t asked_ = 0;
    bool isMissing_ = false;
    int searches_ = 0; ///< for attacks, asked for
};

} // namespace ambrel
