#include "platform/sound/stretch/EdgeFiller.h"

#include <algorithm>
#include <cmath>

namespace ambrel {

namespace {

/// Shorter lags are not tried: their multiples match as well and keep more of the timbre.
constexpr std::size_t leastLag = 32;
/// First every fourth lag is compared, then every one around the best.
constexpr std::size_t coarseStride = 4;
/// A remaining step at the edge is spread over this fraction of the span.
constexpr std::size_t spreadPart = 16;

} // namespace

EdgeFiller::EdgeFiller(const InputHistory& input, std::size_t span) : input_(input), span_(span) {
    near_.reserve(span);
}

void EdgeFiller::begin() noexcept {
    begin_ = end_ = {};
}

void EdgeFiller::rewind(std::int64_t frame) noexcept {
    if (frame < static_cast<std::int64_t>(span_))
        begin_ = {};
    end_ = {};
}

void EdgeFiller::copy(std::int64_t from, std::int64_t end, float* stereo,
                      std::size_t frames) noexcept {
    for (std::size_t i = 0; i < frames; ++i) {
        const std::int64_t frame = from + static_cast<std::int64_t>(i);
        if (frame < 0) {
            findBegin(end);
            const std::int64_t source = (frame % begin_.lag + begin_.lag) % begin_.lag;
            extend(begin_, -1 - frame, source, stereo + 2 * i);
        } else if (frame >= end) {
            findEnd(end);
            const std::int64_t source = end - end_.lag + (frame - end) % end_.lag;
            extend(end_, frame - end, source, stereo + 2 * i);
        } else {
            input_.copy(frame, stereo + 2 * i, 1);
        }
    }
}

void EdgeFiller::extend(const Edge& edge, std::int64_t beyond, std::int64_t source,
                        float* frame) noexcept {
    input_.copy(source, frame, 1);
    const auto spread = static_cast<std::int64_t>(span_ / spreadPart);
    if (beyond >= spread)
        return;
    const float left = 1 - static_cast<float>(beyond) / static_cast<float>(spread);
    frame[0] += edge.step[0] * left * left;
    frame[1] += edge.step[1] * left * left;
}

void EdgeFiller::findBegin(std::int64_t end) noexcept {
    if (begin_.at == 0)
        return;
    gather(end, false);
    begin_.at = 0;
    begin_.lag = bestLag();
    float first[2], again[2];
    input_.copy(0, first, 1);
    input_.copy(std::min(begin_.lag, end - 1), again, 1);
    for (const int channel : {0, 1})
        begin_.step[channel] = first[channel] - again[channel];
}

void EdgeFiller::findEnd(std::int64_t end) noexcept {
    if (end_.at == end)
        return;
    gather(end, true);
    end_.at = end;
    end_.lag = bestLag();
    float last[2], again[2];
    input_.copy(end - 1, last, 1);
    input_.copy(std::max<std::int64_t>(0, end - 1 - end_.lag), again, 1);
    for (const int channel : {0, 1})
        end_.step[channel] = last[channel] - again[channel];
}

/// Copies the sound at the start of a run of `end` frames, or, reversed, at its end.
void EdgeFiller::gather(std::int64_t end, bool isReversed) noexcept {
    near_.resize(static_cast<std::size_t>(std::min<std::int64_t>(end, std::int64_t(span_))));
    for (std::size_t i = 0; i < near_.size(); ++i) {
        float frame[2];
        const auto at = static_cast<std::int64_t>(i);
        input_.copy(isReversed ? end - 1 - at : at, frame, 1);
        near_[i] = frame[0] + frame[1];
    }
}

/// The lag of the highest autocorrelation; the whole length if the sound is too short to tell.
std::int64_t EdgeFiller::bestLag() noexcept {
    const std::size_t most = near_.size() / 2;
    if (most < 2 * leastLag)
        return static_cast<std::int64_t>(std::max<std::size_t>(1, near_.size()));
    const auto search = [this](std::size_t from, std::size_t to, std::size_t stride) {
        std::size_t best = from;
        double likest = -2;
        for (std::size_t lag = from; lag <= to; ++lag) {
            const double alike = likeness(lag, stride);
            if (alike > likest) {
                likest = alike;
                best = lag;
            }
        }
        return best;
    };
    const std::size_t near = search(leastLag, most, coarseStride);
    return static_cast<std::int64_t>(
        search(std::max(leastLag, near - coarseStride), std::min(most, near + coarseStride), 1));
}

double EdgeFiller::likeness(std::size_t lag, std::size_t stride) const noexcept {
    const std::size_t frames = near_.size() - near_.size() / 2;
    double ab = 0, bb = 0;
    for (std::size_t i = 0; i < frames; i += stride) {
        ab += double(near_[i]) * near_[i + lag];
        bb += double(near_[i + lag]) * near_[i + lag];
    }
    return bb > 0 ? ab / std::sqrt(bb) : -1;
}

} // namespace ambrel
