#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/sound/PassReader.h"
#include "platform/sound/Resampler.h"

namespace ambrel {

class AudioFile;

/// How the frames of a run at the file's rate and at the device's lie to each other.
struct RatePair {
    int fileHz = 1;
    int deviceHz = 1;

    bool equal() const noexcept { return fileHz == deviceHz; }
    double fileFramesPerFrame() const noexcept { return double(fileHz) / deviceHz; }
    /// The nearest device frame. PassCourse::open stays what it is.
    std::int64_t toDevice(std::int64_t fileFrame) const noexcept;
    /// The file frame at or before.
    std::int64_t toFile(std::int64_t deviceFrame) const noexcept;
};

/// The frames of a run at the device's rate: one converter runs through all its passes, so that no
/// boundary is heard from it and none is rounded. The decode thread's.
class RunReader {
  public:
    /// Reads from the run's device frame `from` on, and gives there what a reader from the run's
    /// first frame on would give. `course` outlives the reader, and may be changed between reads
    /// behind whatFollowsFrom(). Throws std::runtime_error for rates that cannot be converted.
    RunReader(std::shared_ptr<AudioFile> file, const PassCourse& course, RatePair rates,
              std::int64_t from);

    /// Fills `frames` frames, fewer only at the run's end; returns how many. May block.
    std::size_t read(float* stereo, std::size_t frames);

    /// Device frames of the run read so far, those before `from` included.
    std::int64_t position() const noexcept { return position_; }

    /// The run's end in device frames, or PassCourse::open.
    std::int64_t end() const noexcept { return rates_.toDevice(course_.end()); }

    /// Boundaries of the course at this file frame or later have not been looked at yet.
    std::int64_t boundariesSeenTo() const noexcept { return passes_.next() + passes_.seamFrames(); }

    /// The first device frame that another course behind the file frame `boundary` may change.
    static std::int64_t changesFrom(std::int64_t boundary, RatePair rates);

  private:
    void skipTo(std::int64_t from);

    const PassCourse& course_;
    RatePair rates_;
    PassReader passes_;
    Resampler resampler_;
    std::int64_t position_;
};

} // namespace ambrel
