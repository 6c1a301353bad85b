#include "platform/sound/file/MemoryLimit.h"

#include <algorithm>
#include <limits>
#include <mutex>

extern "C" {
#include <libavutil/mem.h>
}

namespace ambrel {
namespace {

/// What a decoder may need for a file of a few bytes.
constexpr std::int64_t leastBytes = 32 << 20;

/// The largest piece is the seek index of silence: 24 bytes for a packet of 4 bytes with 4 more in
/// the file's own table, in a piece that grows to twice the size and a sixteenth.
constexpr std::int64_t bytesPerFileByte = 8;

constexpr std::int64_t mostBytes = std::numeric_limits<int>::max(); // FFmpeg's own limit

std::mutex mutex;
std::multiset<std::int64_t> limits; ///< guarded by mutex

void apply() {
    if (!limits.empty())
        av_max_alloc(static_cast<std::size_t>(*limits.rbegin()));
}

} // namespace

MemoryLimit::MemoryLimit(std::int64_t fileBytes) {
    const std::int64_t some = std::min(fileBytes, mostBytes);
    const std::scoped_lock lock(mutex);
    place_ = limits.insert(std::min(leastBytes + bytesPerFileByte * some, mostBytes));
    apply();
}

MemoryLimit::~MemoryLimit() {
    const std::scoped_lock lock(mutex);
    limits.erase(place_);
    apply();
}

} // namespace ambrel
