#include "platform/sound/device/SoundControlThread.h"

#include <chrono>
#include <utility>

namespace ambrel {

namespace {

/// Closing a device takes a few milliseconds, and quitting must not take a second.
constexpr auto longestFarewell = std::chrono::milliseconds(400);

} // namespace

SoundControlThread::SoundControlThread(std::shared_ptr<Task> task)
    : task_(std::move(task)), closing_(std::make_shared<std::atomic<bool>>(false)) {
    std::promise<void> finished;
    finished_ = finished.get_future();
    thread_ = std::thread([task = task_, closing = closing_, done = std::move(finished)]() mutable {
        while (!*closing) {
            task->bell().waitUntil(task->step(SoundClock::now()));
        }
        task->finish();
        task.reset();
        done.set_value();
    });
}

SoundControlThread::~SoundControlThread() {
    *closing_ = true;
    task_->bell().ring();
    if (finished_.wait_for(longestFarewell) == std::future_status::ready) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

} // namespace ambrel
