#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ambrel {

/// Which input frame an output frame of a stretch is made of: straight pieces, a new one wherever
/// the rate changed. Also says how many output frames there must be, which is what the stretcher
/// is held to.
class StretchMap {
  public:
    /// Output frame 0 is input frame `input`.
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

    /// Output frames that all input so far makes.
    double output() const noexcept { return output_; }

    /// The input frame that output frame `output` is made of.
    double inputAt(double output) const noexcept {
        const Piece& in = pieceOf(&Piece::output, output);
        return in.input + (output - in.output) * in.rate;
    }

    /// The output frame that input frame `input` comes to lie at.
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
    /// The newest piece that begins at or before a frame.
    const Piece& pieceOf(double Piece::*begin, double frame) const noexcept {
        const std::size_t oldest = newest_ < pieces_.size() ? 0 : newest_ - pieces_.size() + 1;
        std::size_t i = newest_;
        while (i > oldest && piece(i).*begin > frame)
            --i;
        return piece(i);
    }
    const Piece& piece(std::size_t i) const noexcept { return pieces_[i % pieces_.size()]; }

    /// Far more rate changes than the stretcher holds blocks at a time.
    std::array<Piece, 512> pieces_{};
    std::size_t newest_ = 0;
    double output_ = 0;
};

} // namespace ambrel
