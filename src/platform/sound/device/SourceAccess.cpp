#include "platform/sound/device/SourceAccess.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace ambrel {

/// Holds the access for its own lifetime, after waiting for the thread that does.
class SourceAccess::Hold {
  public:
    explicit Hold(SourceAccess& access) : held_(access.held_) {
        while (held_.exchange(true)) {
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    }
    ~Hold() { held_ = false; }

    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

  private:
    std::atomic<bool>& held_;
};

void SourceAccess::open(FrameSource& source) {
    const Hold hold(*this);
    source_ = &source;
}

void SourceAccess::close() {
    const Hold hold(*this);
    source_ = nullptr;
}

void SourceAccess::prepare(int sampleRateHz, std::size_t largestRequest) {
    const Hold hold(*this);
    prepareHeld(sampleRateHz, largestRequest);
}

void SourceAccess::prepareIfNever(int sampleRateHz, std::size_t largestRequest) {
    const Hold hold(*this); // waits for a prepare() in progress
    if (sampleRateHz_ == 0) {
        prepareHeld(sampleRateHz, largestRequest);
    }
}

void SourceAccess::prepareHeld(int sampleRateHz, std::size_t largestRequest) {
    largestRequest = std::max({largestRequest, largestRequest_, largestSeen_});
    const bool prepared = sampleRateHz_ == sampleRateHz && largestRequest == largestRequest_;
    if (source_ == nullptr || prepared) {
        return;
    }
    largestRequest_ = largestRequest;
    sampleRateHz_ = 0;
    preparing_ = true;
    try {
        source_->prepare(sampleRateHz, largestRequest);
    } catch (...) {
        preparing_ = false;
        throw;
    }
    sampleRateHz_ = sampleRateHz;
    preparing_ = false;
}

std::optional<std::int64_t> SourceAccess::render(Puller puller, int sampleRateHz, float* stereo,
                                                 std::size_t frames) noexcept {
    if (held_.exchange(true)) {
        return std::nullopt;
    }
    std::optional<std::int64_t> first;
    if (source_ != nullptr && puller_ == puller && sampleRateHz > 0 &&
        sampleRateHz_ == sampleRateHz) {
        first = rendered_;
        largestSeen_ = std::max(frames, largestSeen_);
        for (std::size_t done = 0; done < frames;) {
            const std::size_t request = std::min(frames - done, largestRequest_);
            source_->render(stereo + 2 * done, request);
            done += request;
        }
        rendered_ += static_cast<std::int64_t>(frames);
    }
    held_ = false;
    return first;
}

} // namespace ambrel
