#include "platform/sound/device/Doorbell.h"

#include <cerrno>
#include <ctime>

namespace ambrel {

namespace {

timespec monotonicTime(SoundClock::time_point when) {
    using namespace std::chrono;
    const auto sinceStart = when.time_since_epoch();
    const auto wholeSeconds = duration_cast<seconds>(sinceStart);
    const nanoseconds rest = sinceStart - wholeSeconds;
    return {static_cast<time_t>(wholeSeconds.count()), static_cast<long>(rest.count())};
}

} // namespace

Doorbell::Doorbell() {
    sem_init(&semaphore_, 0, 0);
}

Doorbell::~Doorbell() {
    sem_destroy(&semaphore_);
}

void Doorbell::ring() noexcept {
    sem_post(&semaphore_);
}

void Doorbell::waitUntil(SoundClock::time_point deadline) noexcept {
    int result = 0;
    do {
        if (deadline == SoundClock::time_point::max()) {
            result = sem_wait(&semaphore_);
        } else {
            const timespec until = monotonicTime(deadline);
            result = sem_clockwait(&semaphore_, CLOCK_MONOTONIC, &until);
        }
    } while (result != 0 && errno == EINTR);
    while (sem_trywait(&semaphore_) == 0) {
    }
}

} // namespace ambrel
