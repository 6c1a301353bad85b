#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/sound/PassCourse.h"

namespace ambrel {

class AudioFile;

/// The frames of a run at the file's rate, pass after pass.
///
/// Where one pass follows another, the last 5 ms of the first (half a pass at most) are crossfaded
/// with the 5 ms that lie before the second's start, so that the second's first frame, which may be
/// an attack, stays as it is. The gains follow how alike the two are, so that the level neither
/// rises nor falls.
///
/// A run lasts what its course says: frames before the file, behind it, and those that do not
/// decode are silence. Samples that are no numbers are silence too, and none is larger than 1,000
/// times full scale, so that one broken sample cannot spoil the filters behind. The decode
/// thread's.
class PassReader {
  public:
    /// The longest seam, in frames of a file of this rate.
    static std::int64_t mostSeam(int fileHz) noexcept { return std::int64_t{fileHz} * 5 / 1000; }

    /// `course` may be changed between reads, behind what was read. It outlives the reader.
    PassReader(std::shared_ptr<AudioFile> file, const PassCourse& course, std::int64_t from);

    /// Fills `frames` stereo frames, fewer only at the run's end; returns how many. May block.
    std::size_t read(float* stereo, std::size_t frames);

    /// The run's frame that is read next. What has been read depends on the course up to
    /// `seamFrames()` behind it.
    std::int64_t next() const noexcept { return next_; }
    std::int64_t seamFrames() const noexcept { return mostSeam_; }

  private:
    struct Seam {
        std::int64_t boundary = -1; ///< where in the run it ends
        std::int64_t from = 0;      ///< file frame that the pass after it starts at
        std::vector<float> stereo;
    };

    std::int64_t seamLength(const Passes& before, const Passes* after) const noexcept;
    void makeSeam(std::int64_t boundary, std::int64_t lastFrame, std::int64_t nextStart,
                  std::int64_t frames);
    void keep(const Passes& passes);
    void readAt(std::int64_t fileFrame, float* stereo, std::int64_t frames);
    void readFile(std::int64_t fileFrame, float* stereo, std::int64_t frames);
    void readInside(std::int64_t first, float* stereo, std::size_t frames);

    std::shared_ptr<AudioFile> file_;
    const PassCourse& course_;
    std::int64_t next_;
    std::int64_t mostSeam_;
    Seam seam_;
    std::int64_t keptFrom_ = 0; ///< file frame
    std::vector<float> kept_;   ///< a short pass that repeats, and what lies before it
    std::vector<float> mono_, beside_;
};

} // namespace ambrel
