#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ambrel {

/// The most recent frames of a stereo signal, by their number in it. One thread at a time.
/// Allocates in the constructor only.
class FrameHistory {
  public:
    /// Keeps at least `frames` frames.
    explicit FrameHistory(std::size_t frames) : mask_(std::bit_ceil(frames) - 1) {
        samples_.resize(2 * (mask_ + 1));
    }

    /// The number of the next frame.
    std::int64_t end() const noexcept { return end_; }

    /// Forgets all; the next frame is number `frame`.
    void restart(std::int64_t frame) noexcept {
        end_ = frame;
        std::ranges::fill(samples_, 0.0F);
    }

    /// Frames from `frame` on will be added again.
    void rewind(std::int64_t frame) noexcept { end_ = std::min(end_, frame); }

    void add(const float* stereo, std::size_t frames) noexcept {
        for (std::size_t i = 0; i < frames; ++i)
            std::copy_n(stereo + 2 * i, 2, samples_.data() + placeOf(end_++));
    }

    /// Copies frame `frame`, which must still be in the history.
    void copy(std::int64_t frame, float* stereo) const noexcept {
        std::copy_n(samples_.data() + placeOf(frame), 2, stereo);
    }

    /// The sum of its channels.
    float mono(std::int64_t frame) const noexcept {
        return samples_[placeOf(frame)] + samples_[placeOf(frame) + 1];
    }

  private:
    std::size_t placeOf(std::int64_t frame) const noexcept {
        return 2 * (static_cast<std::size_t>(frame) & mask_);
    }

    std::size_t mask_; ///< the frames kept, a power of two, minus 1
    std::vector<float> samples_;
    std::int64_t end_ = 0;
};

} // namespace ambrel
