#pragma once

#include <cstdint>

#include "platform/sound/FrameBlock.h"
#include "platform/sound/PlayPlan.h"
#include "platform/sound/RunReader.h"

namespace ambrel {

/// Where the passes of a run lie at the device's rate.
class RunTimes {
  public:
    explicit RunTimes(RatePair rates) : rates_(rates) {}

    PassSpan span(const Passes& passes) const noexcept;

    /// The passes that the device frame `frame` belongs to, which go on until `until`.
    PassSpan spanAt(const PassCourse& course, std::int64_t frame,
                    std::int64_t& until) const noexcept;

    RunEnd end(const PlayPlan::Run& run) const noexcept;

  private:
    double exact(std::int64_t fileFrame) const noexcept;

    RatePair rates_;
};

} // namespace ambrel
