#pragma once

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/sound/AudioOutput.h"

namespace ambrel::test {

/// A device that asks for frames from a thread of its own, in requests of one size, as often as the
/// test says: in step with the clock, or as fast as it can. Keeps all it was given.
///
/// What is heard lags what was asked for by one request.
class ClockedOutput final : public AudioOutput {
  public:
    ClockedOutput(int sampleRateHz, std::size_t request, double speed);
    ~ClockedOutput() override;

    void open(FrameSource& source) override;
    void start() override { running_ = true; }
    void stop() override { running_ = false; }
    std::int64_t framesHeard() const noexcept override { return heard_; }

    /// Another device takes over, at another rate. Returns the frames given to those before it.
    std::int64_t replaceDevice(int sampleRateHz, std::size_t request);

    bool isRunning() const { return running_; }
    std::int64_t framesWritten() const { return written_; }
    /// The frames given so far, interleaved.
    std::vector<float> frames() const;
    /// The last of them, at most `count`.
    std::vector<float> lastFrames(std::size_t count) const;
    /// One sample of the left channel.
    float leftAt(std::int64_t frame) const;

  private:
    void prepare() noexcept;
    void run();

    FrameSource* source_ = nullptr;
    mutable std::mutex mutex_; ///< one device at a time; guards what follows
    int sampleRateHz_;
    std::size_t request_;
    bool isPrepared_ = false;
    std::vector<float> frames_;
    double speed_;
    std::atomic<bool> opened_{false};
    std::atomic<bool> running_{false};
    std::atomic<bool> ending_{false};
    std::atomic<std::int64_t> written_{0};
    std::atomic<std::int64_t> heard_{0};
    std::thread thread_;
};

} // namespace ambrel::test
