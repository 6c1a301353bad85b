#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/sound/stretch/FrameInput.h"

namespace ambrel {

/// The most recent input frames of a run, by their number in it. Owned by TimePitchUnit; render
/// thread only. Allocates in the constructor only.
class InputHistory {
  public:
    /// Keeps at least `frames` frames.
    explicit InputHistory(std::size_t frames) : span_(std::bit_ceil(frames)), frames_(2 * span_) {}

    std::size_t span() const noexcept { return span_; }

    /// Frames taken from the source in this run.
    std::int64_t taken() const noexcept { return taken_; }

    void begin() noexcept { taken_ = 0; }

    /// Frames from `frame` on will be taken again.
    void rewind(std::int64_t frame) noexcept { taken_ = std::min(taken_, frame); }

    /// Takes frames up to `upTo`; false if the source has no more now.
    bool take(FrameInput& source, std::int64_t upTo) noexcept {
        while (taken_ < upTo) {
            const std::size_t at = place(taken_);
            const std::size_t room = std::min(span_ - at, static_cast<std::size_t>(upTo - taken_));
            const std::size_t count = source.read(frames_.data() + 2 * at, room);
            if (count == 0)
                return false;
            taken_ += static_cast<std::int64_t>(count);
        }
        return true;
    }

    /// Copies frames from `from` on, which must still be in the history.
    void copy(std::int64_t from, float* stereo, std::size_t frames) const noexcept {
        for (std::size_t i = 0; i < frames; ++i) {
            const std::size_t at = 2 * place(from + static_cast<std::int64_t>(i));
            stereo[2 * i] = frames_[at];
            stereo[2 * i + 1] = frames_[at + 1];
        }
    }

    /// Similarity of `mono` to the sum of both channels from `from` on, which must still be in the
    /// history; as Crossfade::likenessOf().
    double likeness(std::int64_t from, std::span<const float> mono) const noexcept {
        double aa = 0, bb = 0, ab = 0;
        for (std::size_t i = 0; i < mono.size(); ++i) {
            const std::size_t at = 2 * place(from + static_cast<std::int64_t>(i));
            const double a = frames_[at] + frames_[at + 1];
            aa += a * a;
            bb += double(mono[i]) * mono[i];
            ab += a * mono[i];
        }
        return aa > 0 && bb > 0 ? std::clamp(ab / std::sqrt(aa * bb), 0.0, 1.0) : 0;
    }

  private:
    std::size_t place(std::int64_t frame) const noexcept {
        return static_cast<std::size_t>(frame) & (span_ - 1);
    }

    std::size_t span_; ///< a power of two
    std::vector<float> frames_;
    std::int64_t taken_ = 0;
};

} // namespace ambrel
