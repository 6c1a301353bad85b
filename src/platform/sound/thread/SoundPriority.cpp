#include "platform/sound/thread/SoundPriority.h"

#include <algorithm>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ambrel {
namespace {

/// Low, of 1 to 99: what drives the hardware must come first.
int realTimePriority(SoundUrgency urgency) {
    return urgency == SoundUrgency::onDemand ? 3 : 2;
}

/// Commonly granted to a user's own threads.
constexpr int wantedNice = -11;

bool makeRealTime(SoundUrgency urgency) noexcept {
    // The kernel would kill the program if a thread exceeded this limit, in a slow seek for
    // example.
    rlimit running{};
    if (getrlimit(RLIMIT_RTTIME, &running) != 0 || running.rlim_cur != RLIM_INFINITY)
        return false;
    sched_param wanted{};
    wanted.sched_priority = realTimePriority(urgency);
    return pthread_setschedparam(pthread_self(), SCHED_RR | SCHED_RESET_ON_FORK, &wanted) == 0;
}

void makeLessNice() noexcept {
    rlimit granted{};
    if (getrlimit(RLIMIT_NICE, &granted) != 0)
        return;
    const auto thread = static_cast<id_t>(gettid());
    if (setpriority(PRIO_PROCESS, thread, wantedNice) == 0)
        return;
    const int best = 20 - static_cast<int>(std::min<rlim_t>(granted.rlim_cur, 40));
    if (best < getpriority(PRIO_PROCESS, thread))
        setpriority(PRIO_PROCESS, thread, best);
}

} // namespace

void raiseSoundPriority(SoundUrgency urgency) noexcept {
    // A priority already raised by the sound system is kept. The kernel is asked: what the C
    // library remembers of a thread that a real-time thread created is that thread's policy.
    if ((sched_getscheduler(0) & ~SCHED_RESET_ON_FORK) != SCHED_OTHER)
        return;
    if (!makeRealTime(urgency))
        makeLessNice();
}

} // namespace ambrel
