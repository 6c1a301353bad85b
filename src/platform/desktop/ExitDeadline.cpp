#include "platform/desktop/ExitDeadline.h"

#include <atomic>
#include <csignal>
#include <cstdlib>

#include <sys/time.h>

namespace ambrel {
namespace {

std::atomic<int> exitStatus = EXIT_SUCCESS;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

void leave(int) {
    std::_Exit(exitStatus);
}

void setTimer(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    itimerval timer = {};
    timer.it_value.tv_sec = seconds.count();
    timer.it_value.tv_usec = std::chrono::microseconds(time - seconds).count();
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

ExitDeadline::~ExitDeadline() {
    setTimer({});
}

void ExitDeadline::set(std::chrono::milliseconds time, int status) {
    exitStatus = status;
    std::signal(SIGALRM, leave);
    setTimer(time);
}

} // namespace ambrel
