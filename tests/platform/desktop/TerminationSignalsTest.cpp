#include "platform/desktop/TerminationSignals.h"

#include <csignal>

#include <QTest>

using namespace ambrel;

class TerminationSignalsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void requestArrivesOnTheMainLoop() {
        for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
            int requests = 0;
            const TerminationSignals termination([&] { ++requests; });
            for (const int expected : {1, 2}) {
                std::raise(number);
                QCOMPARE(requests, expected - 1);
                QTRY_COMPARE(requests, expected);
            }
        }
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
