#include "platform/desktop/TerminationSignals.h"

#include <csignal>

#include <QTest>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/desktop/ExitDeadline.h"

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

    void theDeadlineEndsWhatIsStuck() {
        const pid_t child = ::fork();
        if (child == 0) {
            ExitDeadline().set(std::chrono::milliseconds(1), 1); // in time
            ExitDeadline deadline;
            deadline.set(std::chrono::milliseconds(20), 3);
            for (int i = 0; i < 100; ++i)
                ::usleep(100'000);
            ::_exit(2);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 3);
    }
};

QTEST_GUILESS_MAIN(TerminationSignalsTest)
#include "TerminationSignalsTest.moc"
