#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/sound/AudioOutput.h"

namespace ambrel {

/// An output that is pulled as fast as the graph can make frames, for tests and tools. What is set
/// between two pulls is heard from the first frame of the later one on; equal calls give equal
/// frames, whatever the machine is doing.
///
/// The graph owns it; one thread, the graph's client, pulls.
class OfflineOutput final : public AudioOutput {
  public:
    explicit OfflineOutput(int sampleRateHz) : sampleRateHz_(sampleRateHz) {}

    /// Fills `frames` stereo frames and returns how many of them are of what plays; silence
    /// follows. 0: nothing plays any more.
    std::size_t pull(float* stereo, std::size_t frames);

    bool isPaced() const noexcept override { return false; }
    void open(FrameSource& source) override;
    void start() override {}
    void stop() override {}
    std::int64_t framesHeard() const noexcept override { return heard_; }

  private:
    int sampleRateHz_;
    FrameSource* source_ = nullptr;
    std::atomic<std::int64_t> heard_{0};
};

} // namespace ambrel
