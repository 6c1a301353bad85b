#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/sound/AudioOutput.h"

namespace ambrel {

/// An output pulled as fast as the graph can render, for tests and tools. A change between two
/// pulls applies at most 128 frames and 1.3 ms into the second; equal calls give equal frames on
/// any machine.
///
/// Owned by the graph; pulled by one thread, the graph's client.
class OfflineOutput final : public AudioOutput {
  public:
    explicit OfflineOutput(int sampleRateHz) : sampleRateHz_(sampleRateHz) {}

    /// Fills `frames` stereo frames. Returns how many of them were played, the rest being silence;
    /// 0 when nothing plays any more.
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
