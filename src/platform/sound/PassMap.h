#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "platform/sound/FrameBlock.h"

namespace ambrel {

/// Which pass a frame of the run belongs to, for the part of the run that is on its way through the
/// render thread. Allocates nothing.
class PassMap {
  public:
    struct Place {
        PassBegin pass;
        double fileFrame = 0; ///< counted from the pass's first
    };

    void begin(double fileFramesPerFrame) noexcept {
        count_ = 0;
        fileFramesPerFrame_ = fileFramesPerFrame;
    }

    /// From `span`'s first frame on this is what is played.
    void add(const PassSpan& span) noexcept {
        if (count_ > 0 && same(spans_[(count_ - 1) % spans_.size()], span))
            return;
        while (count_ > 0 && spans_[(count_ - 1) % spans_.size()].begin >= span.begin)
            --count_;
        spans_[count_++ % spans_.size()] = span;
    }

    /// What begins at `frame` or behind it is not played after all.
    void cutAt(double frame) noexcept {
        while (count_ > 1 && spans_[(count_ - 1) % spans_.size()].begin >= frame)
            --count_;
    }

    bool empty() const noexcept { return count_ == 0; }

    Place at(double frame) const noexcept {
        const std::size_t oldest = count_ < spans_.size() ? 0 : count_ - spans_.size();
        std::size_t i = count_ - 1;
        while (i > oldest && spans_[i % spans_.size()].begin > frame)
            --i;
        const PassSpan& span = spans_[i % spans_.size()];
        const double inside = std::max(0.0, frame - span.begin);
        // A boundary may lie a rounding error beside the frame that was meant to be it.
        constexpr double rounding = 1e-6;
        const Passes& passes = span.passes;
        const double done = span.frames > 0
                                ? std::min(std::floor((inside + rounding) / span.frames),
                                           static_cast<double>(passes.count - 1))
                                : 0.0;
        return {{passes.firstPass + static_cast<std::int64_t>(done), passes.startFrame,
                 passes.frameCount, passes.pauseSeconds},
                std::max(0.0, inside - done * span.frames) * fileFramesPerFrame_};
    }

  private:
    static bool same(const PassSpan& a, const PassSpan& b) noexcept {
        return a.begin == b.begin && a.frames == b.frames &&
               a.passes.firstPass == b.passes.firstPass && a.passes.count == b.passes.count &&
               a.passes.startFrame == b.passes.startFrame;
    }

    std::array<PassSpan, 16> spans_{};
    std::size_t count_ = 0; ///< ever added, less those taken back
    double fileFramesPerFrame_ = 1;
};

} // namespace ambrel
