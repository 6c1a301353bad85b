#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace ambrel {

/// Log of which file frames were handed to the device when. The play head is looked up here once
/// the device reports what has been heard.
///
/// One thread writes (the device callback), one reads (the client); neither waits. An entry
/// overwritten while it is being read is skipped.
class PlayheadLog {
  public:
    struct Entry {
        std::int64_t epoch = 0;
        std::int64_t pass = 0;        ///< number, counted from the segment's first
        std::int64_t outputFrame = 0; ///< its first frame, counted by the output
        std::int64_t frames = 0;
        double fileFrameBegin = 0; ///< file frames from the pass's start
        double fileFrameEnd = 0;
    };

    struct Place {
        std::int64_t pass = 0;
        double fileFrame = 0;
    };

    void write(const Entry& entry) noexcept {
        const std::uint64_t number = written_.load(std::memory_order_relaxed);
        Slot& slot = slots_[number % slots_.size()];
        // Seqlock: the number is odd while the slot is written. The fields are stored with release
        // and loaded with acquire before the number is checked again, so a mixed entry is never
        // returned.
        slot.number.store(2 * number + 1, std::memory_order_relaxed);
        slot.epoch.store(entry.epoch, std::memory_order_release);
        slot.pass.store(entry.pass, std::memory_order_release);
        slot.outputFrame.store(entry.outputFrame, std::memory_order_release);
        slot.frames.store(entry.frames, std::memory_order_release);
        slot.fileFrameBegin.store(entry.fileFrameBegin, std::memory_order_release);
        slot.fileFrameEnd.store(entry.fileFrameEnd, std::memory_order_release);
        slot.number.store(2 * number + 2, std::memory_order_release);
        written_.store(number + 1, std::memory_order_release);
    }

    /// The pass, and the file frame in it, heard after `heardFrames` frames. Considers only epochs
    /// from `firstEpoch` on; absent before their first frame has been heard.
    std::optional<Place> placeAt(std::int64_t heardFrames, std::int64_t firstEpoch) const noexcept {
        const std::uint64_t written = written_.load(std::memory_order_acquire);
        for (std::uint64_t number = written; number > 0 && number + slots_.size() > written;
             --number) {
            const std::optional<Entry> entry = read(number - 1);
            if (!entry || entry->epoch < firstEpoch)
                return std::nullopt;
            if (entry->outputFrame >= heardFrames)
                continue;
            if (heardFrames >= entry->outputFrame + entry->frames)
                return Place{entry->pass, entry->fileFrameEnd};
            return Place{entry->pass,
                         entry->fileFrameBegin + (entry->fileFrameEnd - entry->fileFrameBegin) *
                                                     double(heardFrames - entry->outputFrame) /
                                                     double(entry->frames)};
        }
        return std::nullopt;
    }

  private:
    struct Slot {
        std::atomic<std::uint64_t> number{0};
        std::atomic<std::int64_t> epoch{0};
        std::atomic<std::int64_t> pass{0};
        std::atomic<std::int64_t> outputFrame{0};
        std::atomic<std::int64_t> frames{0};
        std::atomic<double> fileFrameBegin{0};
        std::atomic<double> fileFrameEnd{0};
    };

    std::optional<Entry> read(std::uint64_t number) const noexcept {
        const Slot& slot = slots_[number % slots_.size()];
        if (slot.number.load(std::memory_order_acquire) != 2 * number + 2)
            return std::nullopt;
        const Entry entry{slot.epoch.load(std::memory_order_acquire),
                          slot.pass.load(std::memory_order_acquire),
                          slot.outputFrame.load(std::memory_order_acquire),
                          slot.frames.load(std::memory_order_acquire),
                          slot.fileFrameBegin.load(std::memory_order_acquire),
                          slot.fileFrameEnd.load(std::memory_order_acquire)};
        if (slot.number.load(std::memory_order_relaxed) != 2 * number + 2)
            return std::nullopt;
        return entry;
    }

    /// Several seconds of requests: more than any device's latency.
    std::array<Slot, 1024> slots_{};
    std::atomic<std::uint64_t> written_{0};
};

} // namespace ambrel
