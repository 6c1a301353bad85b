#include <cstddef> // first, or moc stumbles over <concepts>

#include "platform/desktop/BackgroundQueue.h"

#include <latch>
#include <stdexcept>
#include <thread>

#include <QCoroTask>
#include <QTest>

#include "platform/desktop/MainQueue.h"

using namespace ambrel;

class BackgroundQueueTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void resultComesBehindTheMessagesSentBeforeIt() {
        MainQueue home;
        BackgroundQueue pool(home, 2);
        QStringList order;
        [](MainQueue& queue, BackgroundQueue& background, QStringList& seen) -> QCoro::Task<> {
            auto summing = [&queue, &seen] {
                for (int i = 1; i <= 3; ++i)
                    queue.async([&seen, i] { seen << QString::number(i); });
                return 6;
            };
            const int sum = co_await background.run(std::move(summing));
            seen << QStringLiteral("sum %1").arg(sum);
        }(home, pool, order);
        QTRY_COMPARE(order.join(u','), QStringLiteral("1,2,3,sum 6"));
    }

    void resultsMayBeMovedOnlyAndWorkToo() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        std::unique_ptr<int> result;
        bool resumedAtHome = false;
        [](BackgroundQueue& background, std::unique_ptr<int>& kept, bool& atHome) -> QCoro::Task<> {
            const auto caller = std::this_thread::get_id();
            auto counting = [given = std::make_unique<int>(41)]() mutable {
                ++*given;
                return std::move(given);
            };
            kept = co_await background.run(std::move(counting));
            atHome = std::this_thread::get_id() == caller;
        }(pool, result, resumedAtHome);
        QTRY_VERIFY(result);
        QCOMPARE(*result, 42);
        QVERIFY(resumedAtHome);
    }

    void exceptionIsThrownWhereTheResultIsAwaited() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        QString message;
        [](BackgroundQueue& background, QString& caught) -> QCoro::Task<> {
            try {
                co_await background.run([] { throw std::runtime_error("no such file"); });
            } catch (const std::runtime_error& error) {
                caught = QString::fromUtf8(error.what());
            }
        }(pool, message);
        QTRY_COMPARE(message, QStringLiteral("no such file"));
    }

    void oneThreadKeepsTheOrderOfTheStarts() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        std::vector<int> started; // by the one thread, read when all have returned
        std::vector<int> resumed;
        const auto start = [&](int i) -> QCoro::Task<> {
            co_await pool.run([&started, i] { started.push_back(i); });
            resumed.push_back(i);
        };
        for (int i = 0; i < 200; ++i)
            start(i);
        QTRY_COMPARE(resumed.size(), std::size_t(200));
        QVERIFY(std::ranges::is_sorted(started));
        QVERIFY(std::ranges::is_sorted(resumed));
    }

    void resultThatCameFirstIsThereAtOnce() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        int result = 0;
        [](BackgroundQueue& background, int& kept) -> QCoro::Task<> {
            auto first = background.run([] { return 7; });
            auto second = background.run([] { return 8; });
            const int behind = co_await second;
            kept = 10 * behind + co_await first;
        }(pool, result);
        QTRY_COMPARE(result, 87);
    }

    void highestPriorityBeginsFirst() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        std::latch allQueued(1);
        QList<int> order; // by the one thread, read when all have returned
        int resumed = 0;
        const auto start = [&](int priority) -> QCoro::Task<> {
            auto work = [&allQueued, &order, priority] {
                allQueued.wait();
                order << priority;
            };
            co_await pool.run(std::move(work), priority);
            ++resumed;
        };
        for (const int priority : {9, 1, 3, 2})
            start(priority);
        allQueued.count_down();
        QTRY_COMPARE(resumed, 4);
        QCOMPARE(order, QList<int>({9, 3, 2, 1}));
    }

    void endedQueueResumesWhoeverAwaits() {
        MainQueue home;
        auto pool = std::make_unique<BackgroundQueue>(home, 1);
        int ended = 0;
        const auto start = [&]() -> QCoro::Task<> {
            try {
                co_await pool->run([] {});
            } catch (BackgroundQueue::Ended) {
                ++ended;
            }
        };
        for (int i = 0; i < 3; ++i)
            start();
        pool.reset(); // begun, waiting or on its way: no result arrives any more
        QCOMPARE(ended, 3);
        QCoreApplication::processEvents();
        QCOMPARE(ended, 3);
    }

    void workIsReleasedBeforeItsResultArrives() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        const auto held = std::make_shared<int>(0);
        long holders = 0;
        [](BackgroundQueue& background, std::shared_ptr<int> owned, long& seen) -> QCoro::Task<> {
            std::weak_ptr<int> watched = owned;
            auto work = [owned = std::move(owned)] {};
            co_await background.run(std::move(work));
            seen = watched.use_count();
        }(pool, held, holders);
        QTRY_COMPARE(holders, 1L); // the test's own
    }
};

QTEST_GUILESS_MAIN(BackgroundQueueTest)
#include "BackgroundQueueTest.moc"
