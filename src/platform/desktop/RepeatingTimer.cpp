#include "platform/desktop/RepeatingTimer.h"

#include <utility>

namespace ambrel {

RepeatingTimer::RepeatingTimer(std::chrono::milliseconds interval, std::function<void()> step) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.callOnTimeout(std::move(step));
    timer_.start(interval);
}

} // namespace ambrel
