#include "platform/desktop/TerminationSignals.h"

#include <csignal>

#include <QTest>

using namespace ambrel;

class TerminationSignalsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void requestArrivesOnTheMainLoop_data() {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void requestArrivesOnTheMainLoop() {
        QFETCH(int, number);
        int requests = 0;
        const TerminationSignals termination([&] { ++requests; });
        std::raise(number);
        QCOMPARE(requests, 0);
        QTRY_COMPARE(requests, 1);
        std::raise(number);
        QTRY_COMPARE(requests, 2);
    }

    void ignoredSignalStaysIgnoredAndFormerHandlersReturn() {
        const auto handlerOf = [](int number) {
            struct sigaction action = {};
            ::sigaction(number, nullptr, &action);
            return action.sa_handler;
        };
        const auto former = std::signal(SIGHUP, SIG_IGN);
        const auto formerTerm = handlerOf(SIGTERM);
        {
            const TerminationSignals termination([] {});
            QVERIFY(handlerOf(SIGHUP) == SIG_IGN);
            QVERIFY(handlerOf(SIGTERM) != formerTerm);
        }
        QVERIFY(handlerOf(SIGTERM) == formerTerm);
        std::signal(SIGHUP, former);
    }
};

QTEST_GUILESS_MAIN(TerminationSignalsTest)
#include "TerminationSignalsTest.moc"
