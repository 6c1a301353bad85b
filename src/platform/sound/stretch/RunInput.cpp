#include "platform/sound/stretch/RunInput.h"

#include <algorithm>
#include <array>

#include "platform/sound/effect/Correlation.h"

namespace ambrel {

namespace {

constexpr std::size_t readFrames = 256;
/// Shorter lags are not tried: their multiples match as well and keep more of the timbre.
constexpr std::size_t leastLag = 32;
/// First every fourth frame is compared, then, for the lags around the best, every one.
constexpr std::size_t coarseStride = 4;
/// A remaining step at the edge is spread over this fraction of the span.
constexpr std::size_t spreadPart = 16;

} // namespace

RunInput::RunInput(std::size_t history, std::size_t span)
    : sound_(history), rest_(history), span_(span) {
    near_.reserve(span);
}

void RunInput::begin(FrameInput& source) noexcept {
    source_ = &source;
    rewind(0);
}

void RunInput::rewind(std::int64_t frame) noexcept {
    sound_.rewind(frame);
    rest_.rewind(frame);
    if (frame < static_cast<std::int64_t>(span_))
        begin_.lag = 0;
    end_.lag = 0;
}

std::size_t RunInput::fetch(std::int64_t from, std::size_t frames) noexcept {
    // What precedes the run is made from how it begins.
    const std::int64_t end = std::max(from + static_cast<std::int64_t>(frames),
                                      from < 0 ? static_cast<std::int64_t>(span_) : 0);
    // The run's end may move while it is read.
    const auto missing = [&] { return std::min(end, length()) - rest_.end(); };
    while (missing() > 0) {
        std::array<float, 2 * readFrames> sound, rest;
        const std::size_t got = source_->read(
            sound.data(), rest.data(), std::min(readFrames, static_cast<std::size_t>(missing())));
        if (got == 0)
            break;
        sound_.add(sound.data(), got);
        rest_.add(rest.data(), got);
    }
    if (missing() <= 0)
        return length() > 0 ? frames : 0;
    return from < 0 ? 0
                    : static_cast<std::size_t>(std::clamp<std::int64_t>(
                          rest_.end() - from, 0, static_cast<std::int64_t>(frames)));
}

void RunInput::copyRest(std::int64_t from, float* stereo, std::size_t frames) noexcept {
    const std::int64_t last = length() - 1;
    for (std::int64_t frame = from; frame < from + static_cast<std::int64_t>(frames);
         ++frame, stereo += 2) {
        if (frame < 0)
            extend(begin_, 0, -1 - frame, stereo);
        else if (frame > last)
            extend(end_, last, frame - last - 1, stereo);
        else
            rest_.copy(frame, stereo);
    }
}

/// Makes the frame that lies `beyond` frames behind the first one outside the run.
void RunInput::extend(Edge& edge, std::int64_t frame, std::int64_t beyond, float* stereo) noexcept {
    if (edge.lag == 0 || edge.frame != frame) {
        edge.frame = frame;
        analyse(edge);
    }
    rest_.copy(edge.at(edge.lag - 1 - beyond % edge.lag), stereo);
    const auto spread = static_cast<std::int64_t>(span_ / spreadPart);
    const float left =
        1 - static_cast<float>(std::min(beyond, spread)) / static_cast<float>(spread);
    for (const int channel : {0, 1})
        stereo[channel] += edge.step[channel] * left * left;
}

void RunInput::analyse(Edge& edge) noexcept {
    near_.resize(static_cast<std::size_t>(std::min<std::int64_t>(length(), std::int64_t(span_))));
    for (std::size_t i = 0; i < near_.size(); ++i)
        near_[i] = rest_.mono(edge.at(static_cast<std::int64_t>(i)));
    edge.lag = bestLag();
    float last[2], again[2];
    rest_.copy(edge.at(0), last);
    rest_.copy(edge.at(std::min(edge.lag, length() - 1)), again);
    for (const int channel : {0, 1})
        edge.step[channel] = last[channel] - again[channel];
}

/// The lag of the highest autocorrelation; the whole length if the sound is too short to tell.
std::int64_t RunInput::bestLag() const noexcept {
    const std::size_t most = near_.size() / 2;
    if (most < 2 * leastLag)
        return static_cast<std::int64_t>(std::max<std::size_t>(1, near_.size()));
    const auto search = [&](std::size_t from, std::size_t to, std::size_t stride) {
        std::size_t best = from;
        double highest = -2;
        for (std::size_t lag = from; lag <= to; ++lag) {
            const double alike =
                correlation(near_.data(), near_.data() + lag, near_.size() - most, stride);
            if (alike > highest) {
                highest = alike;
                best = lag;
            }
        }
        return best;
    };
    const std::size_t near = search(leastLag, most, coarseStride);
    return static_cast<std::int64_t>(
        search(std::max(leastLag, near - coarseStride), std::min(most, near + coarseStride), 1));
}

} // namespace ambrel
