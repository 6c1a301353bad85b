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
constexpr std::int64_t leastBytes = 24 << 20;

/// The largest piece is the seek index: 24 bytes for a packet that takes hardly fewer than 12 in
/// the file, its place in the file's own tables included.
constexpr std::int64_t bytesPerFileByte = 2;

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
