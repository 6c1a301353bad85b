#include "platform/desktop/MainQueue.h"

#include <thread>

#include <QTest>

#include "platform/desktop/RepeatingTimer.h"

using namespace ambrel;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class MainQueueTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everyThreadsStepsArriveInItsOrderOnTheMainThread() {
        constexpr int kThreads = 4;
        constexpr int kSteps = 2'000;
        MainQueue queue;
        std::array<std::vector<int>, kThreads> seen;
        int total = 0;
        bool strayed = false;
        const auto home = std::this_thread::get_id();
        std::vector<std::jthread> threads;
        for (auto& own : seen) {
            threads.emplace_back([&queue, &own, &total, &strayed, home] {
                for (int i = 0; i < kSteps; ++i) {
                    queue.async([&own, &total, &strayed, home, i] {
                        own.push_back(i);
                        ++total;
                        strayed |= std::this_thread::get_id() != home;
                    });
                }
            });
        }
        QTRY_COMPARE(total, kThreads * kSteps);
        QVERIFY(!strayed);
        for (const auto& own : seen)
            QVERIFY(std::ranges::is_sorted(own));
    }

    void stepsOfTwoThreadsKeepTheOrderBetweenThem() {
        MainQueue queue;
        QStringList order;
        queue.async([&] { order << QStringLiteral("main"); });
        std::jthread([&] { queue.async([&] { order << QStringLiteral("other"); }); }).join();
        queue.async([&] { order << QStringLiteral("main again"); });
        QTRY_COMPARE(order.join(u','), QStringLiteral("main,other,main again"));
    }

    void stepThatAddsItselfLetsTheLoopGoOn() {
        MainQueue queue;
        int turns = 0;
        bool stop = false;
        std::function<void()> again = [&] {
            ++turns;
            if (!stop)
                queue.async(again);
        };
        queue.async(again);
        QCoreApplication::processEvents();
        QCOMPARE(turns, 1);
        queue.asyncAfter(20ms, [&] { stop = true; });
        QTRY_VERIFY(stop);
        QVERIFY(turns > 1);
    }

    void nestedLoopRunsTheStepsBehindTheOneThatOpenedIt() {
        MainQueue queue;
        QEventLoop nested;
        QStringList order;
        queue.async([&] {
            nested.exec();
            order << QStringLiteral("opener");
        });
        queue.async([&] { order << QStringLiteral("second"); });
        queue.async([&] {
            order << QStringLiteral("third");
            nested.quit();
        });
        QTRY_COMPARE(order.join(u','), QStringLiteral("second,third,opener"));
    }

    void delayedStepsComeInTimeAndOrder() {
        MainQueue queue;
        const auto start = Clock::now();
        std::vector<std::pair<int, Clock::duration>> ran; // by delay in ms
        const auto after = [&](std::chrono::milliseconds delay) {
            queue.asyncAfter(delay, [&ran, start, delay] {
                ran.emplace_back(static_cast<int>(delay.count()), Clock::now() - start);
            });
        };
        after(120ms);
        after(40ms);
        std::jthread([&] { after(80ms); }).join();
        after(1h * 24 * 365 * 100);
        queue.asyncAfter(-1s, [&] { ran.emplace_back(0, Clock::duration::zero()); });
        queue.asyncAfter(std::chrono::duration<double>(std::nan("")), [] {});
        QTRY_COMPARE(ran.size(), std::size_t(4));
        int last = -1;
        for (const auto& [delay, elapsed] : ran) {
            QVERIFY(delay > last);
            QVERIFY(elapsed >= std::chrono::milliseconds(delay));
            last = delay;
        }
    }

    void equalDelaysKeepTheirOrder() {
        MainQueue queue;
        std::vector<int> order;
        for (int i = 0; i < 50; ++i)
            queue.asyncAfter(5ms, [&order, i] { order.push_back(i); });
        QTRY_COMPARE(order.size(), std::size_t(50));
        QVERIFY(std::ranges::is_sorted(order));
    }

    void cancelledItemNeverRuns() {
        MainQueue queue;
        bool ran = false;
        bool over = false;
        const auto item = std::make_shared<WorkItem>([&] { ran = true; });
        queue.asyncAfter(10ms, item);
        queue.asyncAfter(10ms, [&] { over = true; }); // behind the item
        item->cancel();
        QTRY_VERIFY(over);
        QVERIFY(!ran);
    }

    void waitingStepsEndWithTheirQueue() {
        int ran = 0;
        const auto held = std::make_shared<int>(0);
        {
            MainQueue queue;
            queue.async([&ran, held] { ++ran; });
            queue.asyncAfter(1ms, [&ran, held] { ++ran; });
        }
        QCOMPARE(held.use_count(), 1L);
        bool over = false;
        MainQueue other;
        other.asyncAfter(10ms, [&] { over = true; });
        QTRY_VERIFY(over);
        QCOMPARE(ran, 0);
    }

    void repeatingTimerRunsUntilItIsInvalidated() {
        int calls = 0;
        const auto start = Clock::now();
        std::unique_ptr<RepeatingTimer> timer;
        timer = std::make_unique<RepeatingTimer>(10ms, [&] {
            if (++calls == 5)
                timer->invalidate();
        });
        QTRY_VERIFY(!timer->isValid());
        QVERIFY(Clock::now() - start >= 49ms);
        QCOMPARE(calls, 5);

        timer = std::make_unique<RepeatingTimer>(1ms, [&] { timer.reset(); }); // ends itself
        QTRY_VERIFY(!timer);
    }
};

QTEST_GUILESS_MAIN(MainQueueTest)
#include "MainQueueTest.moc"
