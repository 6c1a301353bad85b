#include "platform/desktop/TerminationSignals.h"

#include <csignal>

#include <QProcess>
#include <QTest>
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
        QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {u"--stuck"_qs}), 3);
    }
};

/// A process that does not end by itself.
static int beStuck() {
    ExitDeadline().set(std::chrono::milliseconds(1), 1); // in time
    static ExitDeadline deadline;
    deadline.set(std::chrono::milliseconds(20), 3);
    for (int i = 0; i < 100; ++i)
        ::usleep(100'000);
    return 2;
}

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc == 2 && std::string(argv[1]) == "--stuck")
        return beStuck();
    TerminationSignalsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "TerminationSignalsTest.moc"
