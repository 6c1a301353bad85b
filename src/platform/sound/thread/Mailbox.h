#pragma once

#include <array>
#include <atomic>

namespace ambrel {

/// Passes the newest value from one thread to another without waiting; values not read in time are
/// lost. (A triple buffer: one slot is written, one is read, the third is exchanged.)
///
/// One thread at a time may write, one may read.
template <typename Value> class Mailbox {
  public:
    void put(const Value& value) {
        slots_[writing_] = value;
        writing_ = shared_.exchange(writing_ | isNew, std::memory_order_acq_rel) & slot;
    }

    /// The newest value, or nullptr if it has been taken. Valid until the next take().
    const Value* take() noexcept {
        if (!(shared_.load(std::memory_order_relaxed) & isNew))
            return nullptr;
        reading_ = shared_.exchange(reading_, std::memory_order_acq_rel) & slot;
        return &slots_[reading_];
    }

  private:
    static constexpr unsigned slot = 3, isNew = 4;

    std::array<Value, 3> slots_{};
    unsigned writing_ = 0; ///< used by the writer only
    unsigned reading_ = 1; ///< used by the reader only
    std::atomic<unsigned> shared_{2};
};

} // namespace ambrel
