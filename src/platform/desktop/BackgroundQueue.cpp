#include "platform/desktop/BackgroundQueue.h"

#include "platform/desktop/MainQueue.h"

namespace ambrel {

BackgroundQueue::BackgroundQueue(MainQueue& home, int threads)
    : home_(home), threadLimit_(static_cast<std::size_t>(threads)) {}

BackgroundQueue::~BackgroundQueue() {
    decltype(waiting_) dropped;
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        dropped.swap(waiting_);
    }
    wake_.notify_all();
    for (auto& thread : threads_)
        thread.join();

    const auto outstanding = std::exchange(outstanding_, {});
    for (const auto& delivery : outstanding)
        delivery->queue = nullptr;
    for (const auto& delivery : outstanding)
        delivery->resumeWaiting();
}

void BackgroundQueue::Delivery::complete() {
    if (!queue)
        return;
    done = true;
    // The set may hold the last reference, and the awaiting coroutine may end the queue.
    const auto self = std::move(queue->outstanding_.extract(shared_from_this()).value());
    resumeWaiting();
}

void BackgroundQueue::Delivery::resumeWaiting() {
    if (auto coroutine = std::exchange(waiting, nullptr))
        coroutine.resume();
}

void BackgroundQueue::start(std::shared_ptr<Delivery> delivery, std::int64_t priority) {
    delivery->queue = this;
    outstanding_.insert(delivery);
    {
        const std::lock_guard lock(mutex_);
        waiting_.emplace(std::pair(-priority, nextTicket_++), std::move(delivery));
        if (waiting_.size() > idleThreads_ && threads_.size() < threadLimit_)
            threads_.emplace_back([this] { performDeliveries(); });
    }
    wake_.notify_one();
}

void BackgroundQueue::performDeliveries() {
    std::unique_lock lock(mutex_);
    while (true) {
        ++idleThreads_;
        wake_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
        --idleThreads_;
        if (ending_)
            return;
        auto delivery = std::move(waiting_.extract(waiting_.begin()).mapped());
        lock.unlock();
        delivery->perform();
        home_.async([delivery = std::move(delivery)] { delivery->complete(); });
        lock.lock();
    }
}

} // namespace ambrel
