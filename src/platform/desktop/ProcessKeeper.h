#pragma once

namespace ambrel {

/// What stands between the application and a program it runs: a process of ours that starts the
/// program, adopts whatever that leaves behind, and ends all of it.
///
/// As the "subreaper" of everything below it, it becomes the parent of a process whose own parent
/// ends, also of one that made itself a session of its own. So nothing that the program started
/// gets out of reach, and as long as the keeper lives, the program's processes are those below it.
/// The application itself cannot be that parent: it has other children, which are none of the
/// program's.
///
/// The keeper ends everything when the other end of its control pipe is closed, however that comes
/// about: the application may ask for it, or be killed. It asks first (SIGTERM, so that temporary
/// folders are tidied away) and kills what is left soon afterwards; it never takes longer than
/// kLongestEndMs.
///
/// It is forked from a program with many threads and does not exec: between fork and exec only
/// async-signal-safe calls are allowed, so it uses no other ever. Within the keeper nothing
/// allocates, throws or locks.
namespace keeper {

constexpr int kPatienceMs = 300; ///< between asking and killing
constexpr int kLongestEndMs = 2 * kPatienceMs;

/// Written whole to the report pipe, one after the other. Its end means that the keeper is gone,
/// and with it everything it kept.
struct Report {
    enum class Kind : int {
        launchFailed, ///< `value` is the errno of exec
        ended         ///< the program itself; `value` as waitpid() gives it
    };
    Kind kind;
    int value;
};

/// What fork() copies for the keeper. Descriptors are numbered 3 or higher and close on exec.
struct Job {
    const char* executable;
    char* const* arguments; ///< the executable's path first, null last
    char* const* environment;
    int control; ///< reading end
    int report;  ///< writing end
    int output;  ///< becomes the program's standard output
    int errors;  ///< becomes the program's standard error
};

/// In the child after fork(), with every signal blocked since before it.
[[noreturn]] void run(const Job& job) noexcept;

} // namespace keeper
} // namespace ambrel
