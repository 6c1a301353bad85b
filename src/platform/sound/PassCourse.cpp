#include "platform/sound/PassCourse.h"

#include <algorithm>

namespace ambrel {

std::int64_t Passes::end() const noexcept {
    if (frameCount > 0 && count > (PassCourse::open - begin) / frameCount)
        return PassCourse::open;
    return begin + count * frameCount;
}

std::int64_t Passes::boundaryAfter(std::int64_t frame) const noexcept {
    if (frameCount <= 0)
        return begin;
    const std::int64_t done = std::max<std::int64_t>(0, frame - begin) / frameCount;
    return std::min(begin + (done + 1) * frameCount, end());
}

const Passes& PassCourse::at(std::int64_t frame) const noexcept {
    const auto behind = std::find_if(passes_.rbegin(), passes_.rend() - 1,
                                     [frame](const Passes& p) { return p.begin <= frame; });
    return *behind;
}

const Passes* PassCourse::from(std::int64_t boundary) const noexcept {
    return boundary < end() ? &at(boundary) : nullptr;
}

std::int64_t PassCourse::passFrom(std::int64_t boundary) const noexcept {
    const Passes& passes = at(boundary);
    return passes.firstPass +
           (passes.frameCount > 0 ? (boundary - passes.begin) / passes.frameCount : 1);
}

void PassCourse::endAt(std::int64_t boundary) {
    while (passes_.size() > 1 && passes_.back().begin >= boundary)
        passes_.pop_back();
    Passes& last = passes_.back();
    if (last.frameCount > 0)
        last.count = std::min(last.count, (boundary - last.begin) / last.frameCount);
}

void PassCourse::follow(std::int64_t boundary, const Continuation& next) {
    const std::int64_t pass = passFrom(boundary);
    endAt(boundary);
    passes_.push_back({boundary, next.startFrame, next.frameCount, next.passes, pass, 0});
    if (passes_.size() > mostKept)
        passes_.erase(passes_.begin());
}

} // namespace ambrel
