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
    void ignoredSignalStaysIgnored() {
        const auto former = std::signal(SIGHUP, SIG_IGN);
        const TerminationSignals termination([] {});
        QVERIFY(std::signal(SIGHUP, former) == SIG_IGN);
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
