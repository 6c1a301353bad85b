#pragma once

#include <cstdint>
#include <set>

namespace ambrel {

/// Keeps FFmpeg from allocating, in one piece, much more than a file can need: containers state
/// sizes and counts of 32 bits, whatever follows. FFmpeg has one limit for all threads, so while
/// several of these exist, the highest counts. Any thread.
class MemoryLimit {
  public:
    explicit MemoryLimit(std::int64_t fileBytes);
    ~MemoryLimit();

    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

  private:
    std::multiset<std::int64_t>::iterator place_; ///< among the limits of all
};

} // namespace ambrel
