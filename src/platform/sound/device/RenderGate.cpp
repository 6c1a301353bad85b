#include "platform/sound/device/RenderGate.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace ambrel {

/// Holds the gate for its own lifetime, after waiting for the thread inside.
class RenderGate::Hold {
  public:
    explicit Hold(RenderGate& gate) : gate_(gate) {
        while (!gate_.tryEnter()) {
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    }
    ~Hold() { gate_.leave(); }

    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

  private:
    RenderGate& gate_;
};

bool RenderGate::tryEnter() noexcept {
    return !entered_.exchange(true, std::memory_order_acquire);
}

void RenderGate::leave() noexcept {
    entered_.store(false, std::memory_order_release);
}

void RenderGate::open(FrameSource& source) {
    const Hold hold(*this);
    source_ = &source;
}

void RenderGate::close() {
    const Hold hold(*this);
    source_ = nullptr;
}

void RenderGate::prepare(int sampleRateHz, std::size_t largestRequest) {
    const Hold hold(*this);
    prepareInside(sampleRateHz, largestRequest);
}

void RenderGate::prepareIfNever(int sampleRateHz, std::size_t largestRequest) {
    const Hold hold(*this); // waits for a prepare() in progress
    if (this->sampleRateHz() == 0) {
        prepareInside(sampleRateHz, largestRequest);
    }
}

void RenderGate::prepareInside(int sampleRateHz, std::size_t largestRequest) {
    const bool prepared = this->sampleRateHz() == sampleRateHz && largestRequest <= largestRequest_;
    if (source_ == nullptr || prepared) {
        return;
    }
    largestRequest_ = std::max(largestRequest, largestRequest_);
    try {
        source_->prepare(sampleRateHz, largestRequest_);
    } catch (...) {
        sampleRateHz_.store(0, std::memory_order_release);
        throw;
    }
    sampleRateHz_.store(sampleRateHz, std::memory_order_release);
}

void RenderGate::giveTurn(RenderTurn turn) {
    const Hold hold(*this);
    turn_.store(turn, std::memory_order_release);
}

std::optional<std::int64_t> RenderGate::render(RenderTurn turn, int sampleRateHz, float* stereo,
                                               std::size_t frames) noexcept {
    if (!tryEnter()) {
        return std::nullopt;
    }
    const bool prepared = sampleRateHz > 0 && this->sampleRateHz() == sampleRateHz;
    if (source_ == nullptr || this->turn() != turn || !prepared) {
        leave();
        return std::nullopt;
    }
    const std::int64_t first = rendered_.load(std::memory_order_relaxed);
    for (std::size_t done = 0; done < frames;) {
        const std::size_t request = std::min(frames - done, largestRequest_);
        source_->render(stereo + 2 * done, request);
        done += request;
    }
    rendered_.store(first + static_cast<std::int64_t>(frames), std::memory_order_release);
    leave();
    return first;
}

} // namespace ambrel
