#include <cstddef> // first, or moc stumbles over <concepts>

#include "platform/desktop/BackgroundQueue.h"

#include <latch>
#include <stdexcept>

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

    void highestPriorityBeginsFirstAndEqualOnesInOrder() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        std::latch allQueued(1);
        QList<std::pair<int, int>> order; // by the one thread, read when all have returned
        QList<std::pair<int, int>> resumed;
        const auto start = [&](int priority, int number) -> QCoro::Task<> {
            auto work = [&allQueued, &order, priority, number] {
                allQueued.wait();
                order << std::pair(priority, number);
            };
            co_await pool.run(std::move(work), priority);
            resumed << std::pair(priority, number);
        };
        start(99, 0);
        for (int number = 0; number < 50; ++number)
            for (const int priority : {1, 3, 2})
                start(priority, number);
        allQueued.count_down();
        QTRY_COMPARE(resumed.size(), 151);
        QVERIFY(std::ranges::is_sorted(order, [](auto a, auto b) {
            return a.first > b.first || (a.first == b.first && a.second < b.second);
        }));
        QCOMPARE(resumed, order);
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

    void moveOnlyWorkIsReleasedBeforeItsResultArrives() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        std::unique_ptr<int> result;
        long holders = -1;
        [](BackgroundQueue& background, std::unique_ptr<int>& kept, long& seen) -> QCoro::Task<> {
            auto owned = std::make_shared<int>(0);
            const std::weak_ptr<int> watched = owned;
            auto work = [owned = std::move(owned), given = std::make_unique<int>(42)]() mutable {
                return std::move(given);
            };
            kept = co_await background.run(std::move(work));
            seen = watched.use_count();
        }(pool, result, holders);
        QTRY_COMPARE(holders, 0L);
        QCOMPARE(*result, 42);
    }
};

QTEST_GUILESS_MAIN(BackgroundQueueTest)
#include "BackgroundQueueTest.moc"
