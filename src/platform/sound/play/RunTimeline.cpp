#include "platform/sound/play/RunTimeline.h"

#include <algorithm>
#include <cmath>

namespace ambrel {

std::int64_t RunTimeline::Row::boundaryAfter(std::int64_t frame) const noexcept {
    if (first.frameCount <= 0)
        return begin;
    const std::int64_t done = std::max<std::int64_t>(0, frame - begin) / first.frameCount;
    return begin + std::min(done + 1, count) * first.frameCount;
}

std::int64_t RunTimeline::Row::fileFrameAt(std::int64_t frame) const noexcept {
    return first.startFrame + (frame - begin) % std::max<std::int64_t>(1, first.frameCount);
}

void RunTimeline::begin(const Pass& first, std::int64_t heard) noexcept {
    rows_[0] = {-heard, first, 1};
    count_ = 1;
}

void RunTimeline::append(const Announcement& next) noexcept {
    Row& end = rows_[(count_ - 1) % rows_.size()];
    if (end.first.announcement == next.id && end.first.pauseSeconds == 0) {
        ++end.count;
        return;
    }
    const Row added{end.end(), passBehind(next), 1};
    rows_[count_++ % rows_.size()] = added;
}

Pass RunTimeline::passBehind(const Announcement& next) const noexcept {
    return {last().first.number + last().count, next.id, next.startFrame, next.frameCount,
            next.pauseSeconds};
}

void RunTimeline::cutAt(std::int64_t boundary) noexcept {
    while (count_ > 1 && last().begin >= boundary)
        --count_;
    Row& end = rows_[(count_ - 1) % rows_.size()];
    if (end.first.frameCount > 0)
        end.count =
            std::clamp<std::int64_t>((boundary - end.begin) / end.first.frameCount, 1, end.count);
}

const RunTimeline::Row& RunTimeline::at(std::int64_t frame) const noexcept {
    const std::size_t oldest = count_ < rows_.size() ? 0 : count_ - rows_.size();
    std::size_t i = count_ - 1;
    while (i > oldest && row(i).begin > frame)
        --i;
    return row(i);
}

std::int64_t RunTimeline::boundaryFrom(std::int64_t frame) const noexcept {
    return std::min(end(), at(frame - 1).boundaryAfter(frame - 1));
}

Place RunTimeline::placeAt(double frame) const noexcept {
    // Tolerate a rounding error between the position and the boundary.
    constexpr double rounding = 1e-6;
    const Row& in = at(static_cast<std::int64_t>(std::floor(frame + rounding)));
    const double inside = std::max(0.0, frame - double(in.begin));
    const auto frames = double(in.first.frameCount);
    const double done =
        frames > 0 ? std::min(std::floor((inside + rounding) / frames), double(in.count - 1)) : 0;
    Place place{in.first, std::max(0.0, inside - done * frames)};
    place.pass.number += static_cast<std::int64_t>(done);
    return place;
}

} // namespace ambrel
