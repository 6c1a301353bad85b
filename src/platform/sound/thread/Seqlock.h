#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace ambrel {

/// A value that one thread at a time writes and any thread reads; neither waits.
template <typename Value> class Seqlock {
    static_assert(std::is_trivially_copyable_v<Value> &&
                  sizeof(Value) % sizeof(std::uint64_t) == 0);

  public:
    void write(const Value& value) noexcept {
        const auto words = std::bit_cast<Words>(value);
        const std::uint64_t version = version_.load(std::memory_order_relaxed);
        version_.store(version + 1, std::memory_order_relaxed);
        // Released word by word: who reads a new word also sees that the version has changed.
        for (std::size_t i = 0; i < words.size(); ++i)
            words_[i].store(words[i], std::memory_order_release);
        version_.store(version + 2, std::memory_order_release);
    }

    /// The value last written, or all zero bits before; absent if it is being written.
    std::optional<Value> read() const noexcept {
        const std::uint64_t version = version_.load(std::memory_order_acquire);
        Words words;
        for (std::size_t i = 0; i < words.size(); ++i)
            words[i] = words_[i].load(std::memory_order_acquire);
        if (version % 2 != 0 || version_.load(std::memory_order_relaxed) != version)
            return std::nullopt;
        return std::bit_cast<Value>(words);
    }

  private:
    using Words = std::array<std::uint64_t, sizeof(Value) / sizeof(std::uint64_t)>;

    std::atomic<std::uint64_t> version_{0}; ///< odd while the value is being written
    std::array<std::atomic<std::uint64_t>, std::tuple_size_v<Words>> words_{};
};

} // namespace ambrel
