#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ambrel {

/// Maps output frames of a stretch to input frames, linearly between changes of rate, and gives the
/// number of output frames due, from which the stretcher must not drift. Render thread only;
/// allocates nothing.
class TimeMap {
  public:
    /// Starts with output frame 0 at input frame `input`.
    void begin(double input, double rate) noexcept {
        newest_ = 0;
        pieces_[0] = {0, input, rate};
        output_ = 0;
    }

    /// The next `inputFrames` input frames become inputFrames ÷ rate output frames.
    void advance(double inputFrames, double rate) noexcept {
        if (piece(newest_).rate != rate) {
            const Piece next{output_, inputAt(output_), rate};
            pieces_[++newest_ % pieces_.size()] = next;
        }
        output_ += inputFrames / rate;
    }

    /// Output frames due for all input so far.
    double output() const noexcept { return output_; }

    /// The input frame at output frame `output`.
    double inputAt(double output) const noexcept {
        const Piece& in = pieceOf(&Piece::output, output);
        return in.input + (output - in.output) * in.rate;
    }

    /// The output frame at input frame `input`.
    double outputAt(double input) const noexcept {
        const Piece& in = pieceOf(&Piece::input, input);
        return in.output + (input - in.input) / in.rate;
    }

  private:
    struct Piece {
        double output = 0;
        double input = 0;
        double rate = 1;
    };
    /// The newest piece that starts at or before `frame`.
    const Piece& pieceOf(double Piece::*begin, double frame) const noexcept {
        const std::size_t oldest = newest_ < pieces_.size() ? 0 : newest_ - pieces_.size() + 1;
        std::size_t i = newest_;
        while (i > oldest && piece(i).*begin > frame)
            --i;
        return piece(i);
    }
    const Piece& piece(std::size_t i) const noexcept { return pieces_[i % pieces_.size()]; }

    /// Far more changes of rate than input blocks fit into the stretcher.
    std::array<Piece, 512> pieces_{};
    std::size_t newest_ = 0;
    double output_ = 0;
};

} // namespace ambrel
