#include "platform/desktop/MainQueue.h"

#include <algorithm>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>
#include <QTimer>

namespace ambrel {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Longer delays are cut to this, to keep clock arithmetic in range.
constexpr std::chrono::duration<double> kLongestDelay = std::chrono::hours(24 * 365 * 10);

/// The timer is restarted on the way to a more distant deadline.
constexpr milliseconds kLongestWait = std::chrono::hours(24);

} // namespace

/// Receives one event per call. Each event runs the oldest call, so that the order is that of the
/// queue under our own mutex. Qt delivers events posted during a turn of the loop in the next one,
/// hence the "later turn". A call that runs a nested loop delays no others.
class MainQueue::Impl : public QObject {
  public:
    Impl() {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setSingleShot(true);
        connect(&timer_, &QTimer::timeout, this, [this] { enqueueDue(); });
    }

    void enqueue(Step step) {
        {
            const std::lock_guard lock(mutex_);
            steps_.push_back(std::move(step));
        }
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }

    /// Owner thread only.
    void enqueueAt(Clock::time_point deadline, Step step) {
        const auto at = delayed_.emplace(deadline, std::move(step)); // after equal deadlines
        if (at == delayed_.begin())
            wind();
    }

  protected:
    void customEvent(QEvent*) override { takeOldest()(); }

  private:
    Step takeOldest() {
        const std::lock_guard lock(mutex_);
        Step step = std::move(steps_.front());
        steps_.pop_front();
        // A nested event loop would not wake for events posted before it began.
        if (!steps_.empty())
            QAbstractEventDispatcher::instance()->wakeUp();
        return step;
    }

    void enqueueDue() {
        while (!delayed_.empty() && delayed_.begin()->first <= Clock::now())
            enqueue(std::move(delayed_.extract(delayed_.begin()).mapped()));
        if (!delayed_.empty())
            wind();
    }

    void wind() {
        const auto wait = delayed_.begin()->first - Clock::now();
        timer_.start(
            std::clamp(std::chrono::ceil<milliseconds>(wait), milliseconds(0), kLongestWait));
    }

    std::mutex mutex_;
    std::deque<Step> steps_;                         ///< under mutex_, oldest first
    std::multimap<Clock::time_point, Step> delayed_; ///< owner thread
    QTimer timer_{this};                             ///< set for the first of delayed_
};

MainQueue::MainQueue() : impl_(std::make_shared<Impl>()) {}

MainQueue::~MainQueue() = default;

MainQueue& MainQueue::shared() {
    // Never destroyed: threads may still add calls while the program quits.
    static auto* const queue = new MainQueue;
    return *queue;
}

void MainQueue::async(Step step) {
    impl_->enqueue(std::move(step));
}

void MainQueue::asyncAfter(std::chrono::duration<double> delay, Step step) {
    if (!(delay.count() > 0)) {
        async(std::move(step));
        return;
    }
    const auto wait = std::chrono::ceil<Clock::duration>(std::min(delay, kLongestDelay));
    const auto deadline = Clock::now() + wait;
    if (QThread::currentThread() == impl_->thread()) {
        impl_->enqueueAt(deadline, std::move(step));
        return;
    }
    async([impl = impl_.get(), deadline, step = std::move(step)]() mutable {
        impl->enqueueAt(deadline, std::move(step));
    });
}

void MainQueue::asyncAfter(std::chrono::duration<double> delay, std::shared_ptr<WorkItem> item) {
    asyncAfter(delay, [item = std::move(item)] { item->perform(); });
}

} // namespace ambrel
