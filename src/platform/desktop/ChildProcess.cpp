#include "platform/desktop/ChildProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include "platform/desktop/ProcessSupervisor.h"
#include "platform/desktop/WrittenFiles.h"

namespace ambrel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLookInterval(100);

[[noreturn]] void throwErrno(const char* call) {
    throw std::system_error(errno, std::generic_category(), call);
}

/// Numbered 3 or higher: 0 to 2 are the standard streams, open or not.
Descriptor aboveStandardStreams(int number) {
    Descriptor opened(number);
    if (number < 0 || number > STDERR_FILENO)
        return opened;
    return Descriptor(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

struct Pipe {
    Descriptor reading;
    Descriptor writing;

    Pipe() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throwErrno("pipe2");
        reading = aboveStandardStreams(ends[0]);
        writing = aboveStandardStreams(ends[1]);
    }
};

std::vector<char*> argumentsOf(const ChildProcess::Command& command) {
    std::vector<char*> arguments = {const_cast<char*>(command.executable.c_str())};
    for (const std::string& argument : command.arguments)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    return arguments;
}

} // namespace

ChildProcess::Outcome ChildProcess::run(const Command& command, const std::stop_token& stop,
                                        WrittenFiles& files) {
    return ChildProcess(command).wait(stop, files);
}

ChildProcess::ChildProcess(const Command& command) : executable_(command.executable) {
    startKeeper(command);
}

ChildProcess::~ChildProcess() {
    control_.close();
    ::waitpid(supervisor_, nullptr, 0);
}

/// Signals are blocked meanwhile: the supervisor must not run our handlers.
void ChildProcess::startKeeper(const Command& command) {
    Pipe control;
    Pipe reports;
    Pipe output;
    Pipe errors;
    const auto arguments = argumentsOf(command);
    const supervisor::Job job{
        command.executable.c_str(), arguments.data(),         environ,
        control.reading.number(),   reports.writing.number(), output.writing.number(),
        errors.writing.number()};
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    supervisor_ = ::fork();
    if (supervisor_ == 0)
        supervisor::run(job);
    const int forkError = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (supervisor_ < 0)
        throw std::system_error(forkError, std::generic_category(), command.executable);

    control_ = std::move(control.writing);
    reports_ = std::move(reports.reading);
    output_.pipe = std::move(output.reading);
    errors_.pipe = std::move(errors.reading);
}

ChildProcess::Outcome ChildProcess::wait(const std::stop_token& stop, WrittenFiles& files) {
    Outcome outcome;
    const Descriptor stopped(::eventfd(0, EFD_CLOEXEC));
    if (!stopped.isOpen())
        throwErrno("eventfd");
    const std::stop_callback onStop(stop, [wake = stopped.number()] { ::eventfd_write(wake, 1); });
    auto nextLook = Clock::now();
    while (reports_.isOpen()) {
        if (!control_.isOpen())
            ::kill(supervisor_, SIGCONT); // the program may have suspended it
        std::array<pollfd, 5> watched = {{{output_.pipe.number(), POLLIN, 0},
                                          {errors_.pipe.number(), POLLIN, 0},
                                          {reports_.number(), POLLIN, 0},
                                          {control_.isOpen() ? stopped.number() : -1, POLLIN, 0},
                                          {files.events(), POLLIN, 0}}};
        ::poll(watched.data(), watched.size(), int(kLookInterval.count()));
        const auto isReady = [&](std::size_t which) { return watched[which].revents != 0; };
        if (isReady(0))
            output_.takeSome();
        if (isReady(1))
            errors_.takeSome();
        if (isReady(3) || isReady(4) || Clock::now() >= nextLook) {
            files.look(supervisor_);
            nextLook = Clock::now() + kLookInterval;
        }
        if (isReady(2))
            takeReports(outcome);
        if (isReady(3) && control_.isOpen()) {
            outcome.wasStopped = true;
            control_.close();
        }
    }
    if (launchError_ != 0)
        throw std::system_error(launchError_, std::generic_category(), executable_);
    outcome.output = output_.kept.text();
    outcome.errors = errors_.kept.text();
    return outcome;
}

/// If the supervisor is killed, this signal ends the program too.
void ChildProcess::takeReports(Outcome& outcome) {
    supervisor::Report report{};
    if (::read(reports_.number(), &report, sizeof report) != sizeof report) {
        reports_.close();
        if (!hasEnded_)
            outcome.signal = SIGKILL;
        return;
    }
    if (report.kind == supervisor::Report::Kind::launchFailed) {
        launchError_ = report.value;
        return;
    }
    hasEnded_ = true;
    outcome.exitStatus = WIFEXITED(report.value) ? WEXITSTATUS(report.value) : 0;
    outcome.signal = WIFSIGNALED(report.value) ? WTERMSIG(report.value) : 0;
    output_.takeRest();
    errors_.takeRest();
    control_.close(); // ends processes it left running
}

/// Reads what is available, at most a pipe buffer.
std::size_t ChildProcess::Stream::takeSome() {
    std::array<char, 65536> text;
    const ssize_t length = ::read(pipe.number(), text.data(), text.size());
    if (length <= 0) {
        pipe.close();
        return 0;
    }
    kept.append({text.data(), std::size_t(length)});
    return std::size_t(length);
}

/// The program's output is in the pipe by now; anything later is from other processes, and may
/// never end.
void ChildProcess::Stream::takeRest() {
    int left = 0;
    ::ioctl(pipe.number(), FIONREAD, &left);
    while (left > 0 && pipe.isOpen())
        left -= int(takeSome());
    pipe.close();
}

} // namespace ambrel
