#include "platform/desktop/ProcessSupervisor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ambrel::supervisor {
namespace {

constexpr int kCannotRun = 127; // as in shells
constexpr int kRoundMs = 50;
constexpr int kNiceness = 10; // conversions use all processor time, and audio may be playing

long long nowMs() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

void tell(int pipe, Report::Kind kind, int value) {
    const Report report{kind, value};
    while (::write(pipe, &report, sizeof report) < 0 && errno == EINTR) {
    }
}

/// Closes the application's descriptors, whose connections would otherwise stay open here.
void closeAllBut(std::array<int, 4> kept) {
    std::sort(kept.begin(), kept.end());
    unsigned next = 0;
    for (const int descriptor : kept) {
        const auto number = static_cast<unsigned>(descriptor);
        if (number > next)
            ::close_range(next, number - 1, 0);
        next = number + 1;
    }
    ::close_range(next, ~0U, 0);
}

void useNothingAsStandardStreams() {
    ::open("/dev/null", O_RDWR); // number 0: all three are closed
    ::dup2(STDIN_FILENO, STDOUT_FILENO);
    ::dup2(STDIN_FILENO, STDERR_FILENO);
}

void forgetSignalHandlers() {
    struct sigaction usual = {};
    usual.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
        ::sigaction(number, &usual, nullptr);
}

/// A new session also has its own process group, and no terminal to prompt on.
[[noreturn]] void becomeProgram(const Job& job, pid_t supervisor) {
    ::setsid();
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != supervisor)
        ::_exit(kCannotRun);
    ::setpriority(PRIO_PROCESS, 0, kNiceness);
    ::dup2(job.output, STDOUT_FILENO);
    ::dup2(job.errors, STDERR_FILENO);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execve(job.executable, job.arguments, job.environment);
    tell(job.report, Report::Kind::launchFailed, errno);
    ::_exit(kCannotRun);
}

/// All child processes, by birth or adoption.
class Children {
  public:
    Children(pid_t program, int report) : program_(program), report_(report) {
        sigset_t changes;
        ::sigemptyset(&changes);
        ::sigaddset(&changes, SIGCHLD);
        changes_ = ::signalfd(-1, &changes, SFD_CLOEXEC | SFD_NONBLOCK);
    }

    /// Readable when a child has ended.
    int changes() const { return changes_; }

    /// Reaps those that have ended; finds out whether any are left.
    bool areLeft() {
        signalfd_siginfo signal{};
        while (::read(changes_, &signal, sizeof signal) > 0) {
        }
        int status = 0;
        pid_t ended = 0;
        while ((ended = ::waitpid(-1, &status, WNOHANG)) > 0) {
            if (ended == program_)
                tell(report_, Report::Kind::ended, status);
        }
        return ended == 0 || errno != ECHILD;
    }

    /// Signals all of them. SIGTERM is sent only once to each: it may be cleaning up.
    void send(int signal) {
        const int list = ::open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
        std::array<char, 4096> text{};
        pid_t child = 0;
        ssize_t length = 0;
        while ((length = ::read(list, text.data(), text.size())) > 0) {
            for (ssize_t i = 0; i < length; ++i) {
                const char c = text[static_cast<std::size_t>(i)];
                if (c >= '0' && c <= '9') {
                    child = child * 10 + (c - '0');
                } else if (child > 0) {
                    if (signal == SIGKILL || isAskedFirst(child))
                        sendTo(child, signal);
                    child = 0;
                }
            }
        }
        ::close(list);
    }

  private:
    /// Signals the program's whole group, once it has one.
    void sendTo(pid_t child, int signal) const {
        if (child != program_ || ::kill(-child, signal) != 0)
            ::kill(child, signal);
    }

    /// Only this many are remembered; more are signalled again.
    bool isAskedFirst(pid_t child) {
        if (std::find(asked_.begin(), asked_.end(), child) != asked_.end())
            return false;
        asked_[nextAsked_++ % asked_.size()] = child;
        return true;
    }

    pid_t program_;
    int report_;
    int changes_ = -1;
    std::array<pid_t, 64> asked_{};
    std::size_t nextAsked_ = 0;
};

/// Repeatedly: each that ends may leave its own children to us.
bool end(Children& children, int signal) {
    const long long deadline = nowMs() + kPatienceMs;
    while (children.areLeft()) {
        if (nowMs() > deadline)
            return false;
        children.send(signal);
        pollfd changes{children.changes(), POLLIN, 0};
        ::poll(&changes, 1, kRoundMs);
    }
    return true;
}

} // namespace

void run(const Job& job) noexcept {
    ::setsid();
    ::prctl(PR_SET_NAME, "ambrel-helper");
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    closeAllBut({job.control, job.report, job.output, job.errors});
    useNothingAsStandardStreams();
    forgetSignalHandlers();

    const pid_t supervisor = ::getpid();
    const pid_t program = ::_Fork(); // unlike fork(), async-signal-safe
    if (program == 0)
        becomeProgram(job, supervisor);
    if (program < 0) {
        tell(job.report, Report::Kind::launchFailed, errno);
        ::_exit(kCannotRun);
    }
    ::close(job.output);
    ::close(job.errors);

    Children children(program, job.report);
    std::array<pollfd, 2> watched = {{{job.control, POLLIN, 0}, {children.changes(), POLLIN, 0}}};
    while (watched[0].revents == 0) {
        children.areLeft();
        ::poll(watched.data(), watched.size(), -1);
    }
    if (!end(children, SIGTERM))
        end(children, SIGKILL);
    ::_exit(0);
}

} // namespace ambrel::supervisor
