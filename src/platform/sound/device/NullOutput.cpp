#include "platform/sound/device/NullOutput.h"

namespace ambrel {

NullOutput::NullOutput(int sampleRateHz) : sampleRateHz_(sampleRateHz) {}

NullOutput::~NullOutput() {
    gate_.close();
    closing_ = true;
    bell_.ring();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void NullOutput::open(FrameSource& source) {
    gate_.open(source);
    thread_ = std::thread([this] { run(); });
}

void NullOutput::start() {
    wanted_ = true;
    bell_.ring();
}

void NullOutput::stop() {
    wanted_ = false;
    bell_.ring();
}

std::int64_t NullOutput::framesHeard() const noexcept {
    return heard_.heard(gate_.rendered());
}

void NullOutput::run() {
    NullClock clock(gate_, heard_);
    bool ticking = false;
    while (!closing_) {
        auto next = SoundClock::time_point::max();
        try {
            gate_.prepare(sampleRateHz_, static_cast<std::size_t>(sampleRateHz_) / 100);
            const bool wanted = wanted_;
            if (wanted) {
                const auto now = SoundClock::now();
                if (!ticking) {
                    clock.begin(now);
                }
                next = clock.tick(now);
            }
            ticking = wanted;
        } catch (...) {
            next = SoundClock::now() + NullClock::afterAFailure;
        }
        bell_.waitUntil(next);
    }
}

} // namespace ambrel
