#pragma once

namespace ambrel {

/// The supervisor of a child program: a process of Ambrel's that starts the program, adopts every
/// process the program leaves behind, and ends them all.
///
/// It is a "subreaper": it becomes the parent of any process below it whose own parent has ended,
/// even one in a session of its own. So nothing that the program started gets out of reach, and
/// while the supervisor lives, the program's processes are those below it. The application itself
/// cannot be the subreaper, because it has other children.
///
/// The supervisor ends everything when the other end of its control pipe is closed, because the
/// application asks for it or was killed. It first sends SIGTERM, so that temporary files are
/// cleaned up, and soon afterwards SIGKILL; this never takes longer than kLongestEndMs.
///
/// It is forked from a multithreaded program without exec, so it may only use async-signal-safe
/// calls: it never allocates, throws or locks.
namespace supervisor {

constexpr int kPatienceMs = 300; ///< from SIGTERM to SIGKILL
constexpr int kLongestEndMs = 2 * kPatienceMs;

/// Messages on the report pipe, written atomically. End of file means that the supervisor is gone,
/// and with it all processes below it.
struct Report {
    enum class Kind : int {
        launchFailed, ///< `value` is the errno of exec
        ended         ///< the program has ended; `value` as from waitpid()
    };
    Kind kind;
    int value;
};

/// What the supervisor needs. Descriptors are 3 or higher and close on exec.
struct Job {
    const char* executable;
    char* const* arguments; ///< the executable's path first, null last
    char* const* environment;
    int control; ///< reading end
    int report;  ///< writing end
    int output;  ///< becomes the program's standard output
    int errors;  ///< becomes the program's standard error
};

/// Runs in the child after fork(); all signals must have been blocked before.
[[noreturn]] void run(const Job& job) noexcept;

} // namespace supervisor
} // namespace ambrel
