#include "platform/desktop/ChildProcess.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <system_error>
#include <thread>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include "platform/desktop/WrittenFiles.h"

using namespace ambrel;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

using Outcome = ChildProcess::Outcome;

/// A shell runs `script` in `folder`, whose files are watched; stopped as soon as the script has
/// made a file "ready" there.
struct Run {
    QTemporaryDir temporary;
    fs::path folder = fs::path(temporary.path().toStdString()) / "the folder";
    WrittenFiles files{folder};
    QElapsedTimer ending;

    Run() { fs::create_directory(folder); }

    Outcome of(const std::string& script, const std::stop_token& stop = {}) {
        return ChildProcess::run(
            {"/bin/sh", {"-c", "mkdir -p \"$0\"; cd \"$0\"\n" + script, folder.string()}}, stop,
            files);
    }

    Outcome stoppedWhenReady(const std::string& script) {
        std::stop_source source;
        std::jthread stopper([&] {
            while (!fs::exists(folder / "ready"))
                std::this_thread::sleep_for(1ms);
            ending.start();
            source.request_stop();
        });
        return of(script, source.get_token());
    }

    std::string names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder))
            found.push_back(entry.path().filename());
        std::ranges::sort(found);
        std::string line;
        for (const auto& name : found)
            line += (line.empty() ? "" : " ") + name;
        return line;
    }

    /// Of a process whose number the script wrote to that file.
    bool isGone(const char* name) const {
        pid_t process = 0;
        std::ifstream(folder / name) >> process;
        return process > 0 && ::kill(process, 0) != 0 && errno == ESRCH;
    }
};

} // namespace

/// Programs that behave and programs that do not.
class ChildProcessTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void tellsHowItEnded_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("exitStatus");
        QTest::addColumn<int>("signal");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QByteArray>("errors");
        const auto row = [](const char* script, int status, int signal, const char* output,
                            const char* errors) {
            QTest::newRow(script) << QByteArray(script) << status << signal << QByteArray(output)
                                  << QByteArray(errors);
        };
        row("echo out; echo err >&2", 0, 0, "out\n", "err\n");
        row("printf one; sleep 0.2; printf two; exit 3", 3, 0, "onetwo", "");
        row("exec >&- 2>&-; exit 4", 4, 0, "", "");
        row("cat; echo $?", 0, 0, "0\n", "");
        row("echo before; kill -9 $$", 0, SIGKILL, "before\n", "");
        row("kill -TERM $$", 0, SIGTERM, "", "");
        row("ls /proc/self/fd | tr '\\n' ' '", 0, 0, "0 1 2 3 ", ""); // 3 is ls's own
        row("cut -d' ' -f5,6 /proc/$$/stat | tr ' ' '\\n' | grep -cx $$", 0, 0, "2\n", "");
        row("grep -E 'SigBlk|SigIgn' /proc/self/status | grep -c ' *0000000000000000$'", 0, 0,
            "2\n", "");
    }
    void tellsHowItEnded() {
        QFETCH(QByteArray, script);
        const Outcome outcome = Run().of(script.toStdString());
        QTEST(outcome.exitStatus, "exitStatus");
        QTEST(outcome.signal, "signal");
        QTEST(QByteArray::fromStdString(outcome.output), "output");
        QTEST(QByteArray::fromStdString(outcome.errors), "errors");
        QCOMPARE(outcome.isSuccess(), outcome.exitStatus == 0 && outcome.signal == 0);
    }

    void argumentsArriveAsTheyAre() {
        WrittenFiles files{fs::path()};
        const auto outcome = ChildProcess::run(
            {"/usr/bin/printf", {"<%s>", "a  b", "", "-x", "$HOME `id` *", "\n", "ü🎸"}}, {}, files);
        QCOMPARE(outcome.output, std::string("<a  b><><-x><$HOME `id` *><\n><ü🎸>"));
    }

    void keepsPartOfAFloodCutAtWholeCharacters() {
        const std::string flood = "yes €€€€€€€€€ | tr -d '\\n' | head -c 50000001";
        const Outcome outcome =
            Run().of("(" + flood + "; printf x) & (" + flood + " >&2; printf end >&2); wait");
        QCOMPARE(outcome.exitStatus, 0);
        QCOMPARE(outcome.output.size(), ChildProcess::kOutputLimitBytes / 3 * 3);
        QVERIFY(outcome.output.ends_with("€"));
        QVERIFY(outcome.errors.size() > ChildProcess::kErrorsLimitBytes - 3);
        QVERIFY(outcome.errors.size() <= ChildProcess::kErrorsLimitBytes);
        QVERIFY(outcome.errors.starts_with("€") && outcome.errors.ends_with("€end"));
    }

    void saysWhyItCannotBeStarted_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("error");
        QTest::newRow("missing") << -1 << ENOENT;
        QTest::newRow("not executable") << 0600 << EACCES;
        QTest::newRow("no program") << 0700 << ENOEXEC;
    }
    void saysWhyItCannotBeStarted() {
        QFETCH(int, mode);
        QFETCH(int, error);
        Run run;
        const fs::path program = run.folder / "program";
        if (mode >= 0) {
            std::ofstream(program) << "no program at all\n";
            fs::permissions(program, fs::perms(mode));
        }
        try {
            ChildProcess::run({program.string(), {}}, {}, run.files);
            QFAIL("it was started");
        } catch (const std::system_error& failure) {
            QCOMPARE(failure.code().value(), error);
            QVERIFY(std::string(failure.what()).starts_with(program.string()));
        }
    }

    /// Whatever a program leaves running is ended, and keeps nothing back by holding the pipes.
    void endsWhatOutlivesIt_data() {
        QTest::addColumn<QByteArray>("child");
        QTest::newRow("in its group") << QByteArray("sh -c 'echo $$ > child; exec sleep 100' &");
        QTest::newRow("in a session of its own")
            << QByteArray("setsid sh -c 'echo $$ > child; exec sleep 100' &");
        QTest::newRow("an orphan")
            << QByteArray("(setsid sh -c 'echo $$ > child; exec sleep 100' &)");
        QTest::newRow("writing without end")
            << QByteArray("sh -c 'echo $$ > child; exec yes >&2' &");
        QTest::newRow("deaf to the request")
            << QByteArray("sh -c 'trap \"\" TERM; echo $$ > child; sleep 100' &");
    }
    void endsWhatOutlivesIt() {
        QFETCH(QByteArray, child);
        Run run;
        const Outcome outcome = run.of(
            child.toStdString() + "\nuntil [ -s child ]; do sleep 0.01; done; echo done; exit 5");
        QCOMPARE(outcome.exitStatus, 5);
        QVERIFY(outcome.output.find("done\n") != std::string::npos);
        QVERIFY(run.isGone("child"));
    }

    void stoppingEndsEverything() {
        Run run;
        const Outcome outcome = run.stoppedWhenReady(
            "trap '' TERM\nsetsid sh -c 'trap \"\" TERM; echo $$ > child; touch ready; sleep 100' "
            "&\necho $$ > self\nsleep 100; sleep 100");
        QVERIFY(run.ending.elapsed() < 900);
        QVERIFY(outcome.wasStopped);
        QVERIFY(run.isGone("self") && run.isGone("child"));
    }

    /// A program may tidy up when it is asked to end.
    void stoppingAsksFirst() {
        Run run;
        const Outcome outcome =
            run.stoppedWhenReady("trap 'echo tidy; rm scratch; exit' TERM\ntouch scratch ready\n"
                                 "while :; do sleep 0.01; done");
        QVERIFY(outcome.wasStopped);
        QCOMPARE(outcome.output, std::string("tidy\n"));
        QCOMPARE(run.names(), std::string("ready"));
    }

    void removesWhatItWroteAndNothingElse_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("left");
        const auto row = [](const char* name, const char* script, const char* left) {
            QTest::newRow(name) << QByteArray(script) << QByteArray(left);
        };
        row("held open", "exec 3> a.part", "older other.part");
        row("renamed", "exec 3> a.part; mv a.part b.mp3; exec 4> a.part; mv b.mp3 c.mp3",
            "older other.part");
        row("closed again", "exec 3> a.part; sleep 0.3; exec 3>&-", "older other.part");
        row("by a grandchild", "(setsid sh -c 'exec 3> a.part; sleep 100' &) ; sleep 0.3",
            "older other.part");
        row("made and then read", "echo > a.mp3; exec 3< a.mp3", "older other.part");
        row("an older one read", "exec 3< older", "older other.part");
        row("below the folder", "mkdir sub; exec 3> sub/a.part", "older other.part sub");
        row("outside", "exec 3> ../outside", "older other.part");
    }
    void removesWhatItWroteAndNothingElse() {
        QFETCH(QByteArray, script);
        Run run;
        std::ofstream(run.folder / "older") << "x";
        std::this_thread::sleep_for(20ms); // the clock of file dates ticks in up to 10 ms
        run.files = WrittenFiles(run.folder);
        const std::ofstream other(run.folder / "other.part");
        run.stoppedWhenReady(script.toStdString() + "\nexec 9> ready; sleep 100");
        run.files.remove();
        QTEST(QByteArray::fromStdString(run.names()), "left");
        QVERIFY(!fs::exists(run.folder / "../outside") == !script.contains("outside"));
    }

    void folderMayComeLater() {
        Run run;
        fs::remove(run.folder);
        run.files = WrittenFiles(run.folder);
        run.stoppedWhenReady("exec 3> a.part; sleep 0.3; exec 9> ready; sleep 100");
        run.files.remove();
        QCOMPARE(run.names(), std::string());
    }
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"
