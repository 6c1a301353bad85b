#include "platform/desktop/ChildProcess.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include <QDir>
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

    QString names() const {
        return QDir(QString::fromStdString(folder))
            .entryList(QDir::NoDotAndDotDot | QDir::AllEntries)
            .join(u' ');
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
    void tellsHowItEnded() {
        const std::pair<const char*, const char*> rows[] = {
            {"echo out; echo err >&2", "0 0,out\n,err\n"}, // status signal, output, errors
            {"printf one; sleep 0.2; printf two; exit 3", "3 0,onetwo,"},
            {"exec >&- 2>&-; exit 4", "4 0,,"},
            {"cat; echo $?", "0 0,0\n,"},
            {"echo before; kill -9 $$", "0 9,before\n,"},
            {"ls /proc/self/fd | tr '\\n' ' '", "0 0,0 1 2 3 ,"}, // 3 is ls's own
            {"cut -d' ' -f5,6 /proc/$$/stat | tr ' ' '\\n' | grep -cx $$", "0 0,2\n,"},
            {"grep -E 'SigBlk|SigIgn' /proc/self/status | grep -c ' *0000000000000000$'",
             "0 0,2\n,"},
        };
        for (const auto& [script, told] : rows) {
            const Outcome outcome = Run().of(script);
            QCOMPARE(std::to_string(outcome.exitStatus) + ' ' + std::to_string(outcome.signal) +
                         ',' + outcome.output + ',' + outcome.errors,
                     std::string(told));
            QCOMPARE(outcome.isSuccess(), outcome.exitStatus == 0 && outcome.signal == 0);
        }
    }

    /// Whatever a program leaves running is ended, and keeps nothing back by holding the pipes.
    void endsWhatOutlivesIt() {
        for (const std::string child : {
                 "(setsid sh -c 'echo $$ > child; sleep 100' &)",
                 "sh -c 'echo $$ > child; exec yes >&2' &",
                 "sh -c 'trap \"\" TERM; echo $$ > child; sleep 100' &",
             }) {
            Run run;
            const Outcome outcome =
                run.of(child + "\nuntil [ -s child ]; do sleep 0.01; done; echo done; exit 5");
            QCOMPARE(outcome.exitStatus, 5);
            QVERIFY(outcome.output.find("done\n") != std::string::npos);
            QVERIFY2(run.isGone("child"), child.c_str());
        }
    }

    void stoppingEndsEverything() {
        Run run;
        const Outcome outcome = run.stoppedWhenReady(
            "trap '' TERM; kill -STOP $PPID\n"
            "setsid sh -c 'trap \"\" TERM; echo $$ > child; touch ready; sleep 100' &\n"
            "echo $$ > self\nsleep 100; sleep 100");
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
        QCOMPARE(run.names(), u"ready"_qs);
    }

    void removesWhatItWroteAndNothingElse() {
        for (const std::string script : {
                 "exec 3> a.part; mv a.part b.mp3; exec 4> a.part; mv b.mp3 c.mp3",
                 "exec 3> a.part; sleep 0.3; exec 3>&-",
                 "(setsid sh -c 'exec 3> a.part; sleep 100' &) ; sleep 0.3",
                 "echo > a.mp3; exec 3< a.mp3",
                 "exec 3< older",
                 "exec 3> sub/a.part",
                 "exec 3> ../outside",
             }) {
            Run run;
            fs::create_directory(run.folder / "sub");
            std::ofstream(run.folder / "older") << "x";
            std::this_thread::sleep_for(20ms); // the clock of file dates ticks in up to 10 ms
            run.files = WrittenFiles(run.folder);
            const std::ofstream other(run.folder / "other.part");
            run.stoppedWhenReady(script + "\nexec 9> ready; sleep 100");
            run.files.remove();
            QVERIFY2(run.names() == u"older other.part sub"_qs, script.c_str());
            QVERIFY(QDir(QString::fromStdString(run.folder / "sub")).isEmpty());
            QCOMPARE(fs::exists(run.folder / "../outside"), script.ends_with("outside"));
        }
    }
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"
