#pragma once

#include <cstddef>
#include <stop_token>
#include <string>
#include <vector>

#include <sys/types.h>

#include "platform/desktop/Descriptor.h"
#include "platform/desktop/KeptText.h"

namespace ambrel {

class WrittenFiles;

/// Another program, run from its start to its end: started directly, without a shell, with an empty
/// standard input, in a session and process group of its own. Both its outputs are read while it
/// runs, so that it never waits for room in a pipe, and of each only a part is kept. It leaves the
/// processor to us where there is too little for both.
///
/// It has ended when its own process has. What it started and left running is ended with it: it
/// neither keeps the result back by holding the pipes open nor goes on writing behind our back. The
/// same happens when the run is stopped, and when the application is killed; see ProcessKeeper.h.
///
/// Any thread, but one alone: run() blocks. The thread outlives the run.
class ChildProcess {
  public:
    static constexpr std::size_t kOutputLimitBytes = 1024 * 1024; ///< the beginning is kept
    static constexpr std::size_t kErrorsLimitBytes = 64 * 1024;   ///< the end is kept

    struct Command {
        std::string executable; ///< its path
        std::vector<std::string> arguments;
    };

    struct Outcome {
        bool wasStopped = false; ///< before it had ended by itself
        int exitStatus = 0;      ///< 0 also when a signal ended it
        int signal = 0;          ///< which one ended it; 0 when none did
        std::string output;
        std::string errors;

        bool isSuccess() const { return !wasStopped && exitStatus == 0 && signal == 0; }
    };

    /// Runs it, and returns when nothing of it is left; or, what a process cannot be rid of,
    /// kLongestEndMs after it was stopped or has ended. `files` takes note of what it writes.
    ///
    /// Throws std::system_error, with the executable's path, when it cannot be started.
    static Outcome run(const Command& command, const std::stop_token& stop, WrittenFiles& files);

  private:
    /// One output of the program.
    struct Stream {
        Descriptor pipe;
        KeptText kept;

        std::size_t takeSome();
        void takeRest();
    };

    explicit ChildProcess(const Command& command);
    ~ChildProcess();

    void startKeeper(const Command& command);
    Outcome wait(const std::stop_token& stop, WrittenFiles& files);
    void takeReports(Outcome& outcome);

    std::string executable_;
    pid_t keeper_ = -1;
    Descriptor control_;
    Descriptor reports_;
    Stream output_{{}, {KeptText::Part::beginning, kOutputLimitBytes}};
    Stream errors_{{}, {KeptText::Part::end, kErrorsLimitBytes}};
    int launchError_ = 0; ///< errno
    bool hasEnded_ = false;
};

} // namespace ambrel
