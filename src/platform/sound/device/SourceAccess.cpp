#include "platform/sound/device/SourceAccess.h"

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

void SourceAccess::prepare(int sampleRateHz, std::size_t request) {
    const Hold hold(*this);
    prepareHeld(sampleRateHz, request);
}

void SourceAccess::prepareIfNever(int sampleRateHz, std::size_t request) {
    const Hold hold(*this); // waits for a prepare() in progress
    if (sampleRateHz_ == 0) {
        prepareHeld(sampleRateHz, request);
    }
}

void SourceAccess::prepareHeld(int sampleRateHz, std::size_t request) {
    if (source_ == nullptr) {
        return;
    }
    sampleRateHz_ = 0;
    preparing_ = true;
    try {
        source_->prepare(sampleRateHz, request);
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
        source_->render(stereo, frames);
        rendered_ += static_cast<std::int64_t>(frames);
    }
    held_ = false;
    return first;
}

} // namespace ambrel
