#pragma once

#include <array>
#include <atomic>

namespace ambrel {

/// Hands the newest of many values from one thread to another; neither ever waits, and values that
/// the reader was too late for are lost. (A triple buffer: one slot is being written, one is being
/// read, and the third is exchanged between them.)
///
/// One thread writes at a time, one thread reads.
template <typename Value> class Mailbox {
  public:
    void put(const Value& value) {
        slots_[writing_] = value;
        writing_ = shared_.exchange(writing_ | isNew, std::memory_order_acq_rel) & slot;
    }

    /// The newest value, if it was not taken before; valid until the next take().
    const Value* take() noexcept {
        if (!(shared_.load(std::memory_order_relaxed) & isNew))
            return nullptr;
        reading_ = shared_.exchange(reading_, std::memory_order_acq_rel) & slot;
        return &slots_[reading_];
    }

  private:
    static constexpr unsigned slot = 3, isNew = 4;

    std::array<Value, 3> slots_{};
    unsigned writing_ = 0; ///< the writer's
    unsigned reading_ = 1; ///< the reader's
    std::atomic<unsigned> shared_{2};
};

} // namespace ambrel
