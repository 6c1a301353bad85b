#include "platform/sound/stretch/RecentSound.h"

#include <algorithm>

namespace ambrel {

void RecentSound::add(const float* stereo, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i)
        mono_[next_++ % frames] = stereo[2 * i] + stereo[2 * i + 1];
}

RecentSound::Match RecentSound::findIn(const InputHistory& input, std::int64_t expected,
                                       std::int64_t mostLag) const noexcept {
    std::array<float, frames> inOrder{};
    std::ranges::rotate_copy(mono_, mono_.begin() + static_cast<std::ptrdiff_t>(next_ % frames),
                             inOrder.begin());
    Match best{expected, -1};
    for (std::int64_t lag = -mostLag; lag <= mostLag; ++lag) {
        const std::int64_t frame = expected + lag;
        const double alike = input.likeness(frame - static_cast<std::int64_t>(frames), inOrder);
        if (alike > best.likeness)
            best = {frame, alike};
    }
    return best;
}

} // namespace ambrel
