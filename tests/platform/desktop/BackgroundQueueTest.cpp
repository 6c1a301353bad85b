#include <cstddef> // first, or moc stumbles over <concepts>

#include "platform/desktop/BackgroundQueue.h"

#include <latch>

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
        QList<int> order;
        const auto start = [&]() -> QCoro::Task<> {
            auto counting = [&] {
                for (int i = 1; i <= 3; ++i)
                    home.async([&order, i] { order << i; });
                return 4;
            };
            order << co_await pool.run(std::move(counting));
        };
        start();
        QTRY_COMPARE(order, QList({1, 2, 3, 4}));
    }

    void highestPriorityBeginsFirstAndEqualOnesInOrder() {
        MainQueue home;
        BackgroundQueue pool(home, 1);
        std::latch allQueued(1);
        QStringList order; // by the one thread, read when all have returned
        int returned = 0;
        const auto start = [&](QString name, int priority) -> QCoro::Task<> {
            auto work = [&allQueued, &order, name] {
                allQueued.wait();
                order << name;
            };
            co_await pool.run(std::move(work), priority);
            ++returned;
        };
        start(u"first"_qs, 99);
        for (int number = 0; number < 12; ++number)
            start(QString::number(number), number % 3);
        allQueued.count_down();
        QTRY_COMPARE(returned, 13);
        QCOMPARE(order.join(u' '), u"first 2 5 8 11 1 4 7 10 0 3 6 9"_qs);
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
};

QTEST_GUILESS_MAIN(BackgroundQueueTest)
#include "BackgroundQueueTest.moc"
