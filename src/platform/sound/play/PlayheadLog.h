#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/sound/thread/Seqlock.h"

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
        entries_[number % entries_.size()].write(entry);
        written_.store(number + 1, std::memory_order_release);
    }

    /// The pass, and the file frame in it, heard after `heardFrames` frames. Considers only epochs
    /// from `firstEpoch` on; absent before their first frame has been heard.
    std::optional<Place> placeAt(std::int64_t heardFrames, std::int64_t firstEpoch) const noexcept {
        const std::uint64_t written = written_.load(std::memory_order_acquire);
        for (std::uint64_t number = written; number > 0 && number + entries_.size() > written;
             --number) {
            const std::optional<Entry> entry = entries_[(number - 1) % entries_.size()].read();
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
    /// Several seconds of requests: more than any device's latency.
    std::array<Seqlock<Entry>, 1024> entries_;
    std::atomic<std::uint64_t> written_{0};
};

} // namespace ambrel
