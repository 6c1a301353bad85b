#include "platform/desktop/MainQueue.h"

#include <thread>

#include <QTest>

using namespace ambrel;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class MainQueueTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void delayedStepsComeInTimeAndOrder() {
        MainQueue queue;
        const auto start = Clock::now();
        QList<int> ran;
        bool isEarly = false;
        const auto after = [&](std::chrono::milliseconds delay, int number) {
            queue.asyncAfter(delay, [&, delay, number] {
                ran << number;
                isEarly |= Clock::now() - start < delay;
            });
        };
        after(120ms, 5);
        after(40ms, 2);
        after(40ms, 3);
        std::jthread([&] { after(80ms, 4); }).join();
        after(1h * 24 * 365 * 100, 6);
        after(-1s, 1);
        queue.asyncAfter(std::chrono::duration<double>(std::nan("")), [] {});
        QTRY_COMPARE(ran, QList({1, 2, 3, 4, 5}));
        QVERIFY(!isEarly);
    }
};

QTEST_GUILESS_MAIN(MainQueueTest)
#include "MainQueueTest.moc"
