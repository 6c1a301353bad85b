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

/// Runs another program from start to end: without a shell, with empty standard input, in its own
/// session and process group. Its outputs are read while it runs, so that it never blocks on a
/// pipe; of each only a part is kept. It runs at lower priority than the application.
///
/// It has ended when its own process has. Processes that it leaves running are ended too, so that
/// they can neither delay the result by holding the pipes open nor go on writing unseen. The same
/// happens when the run is stopped or the application is killed; see ProcessSupervisor.h.
///
/// run() may be called on any thread and blocks it. The thread must outlive the run.
class ChildProcess {
  public:
    static constexpr std::size_t kOutputLimitBytes = 1024 * 1024; ///< the beginning is kept
    static constexpr std::size_t kErrorsLimitBytes = 64 * 1024;   ///< the end is kept

    struct Command {
        std::string executable; ///< path
        std::vector<std::string> arguments;
    };

    struct Outcome {
        bool wasStopped = false; ///< stopped before it had ended by itself
        int exitStatus = 0;      ///< also 0 if ended by a signal
        int signal = 0;          ///< signal that ended it, or 0
        std::string output;
        std::string errors;

        bool isSuccess() const { return !wasStopped && exitStatus == 0 && signal == 0; }
    };

    /// Runs the program and returns when all its processes are gone, or at the latest kLongestEndMs
    /// after it was stopped or ended. `files` records what it writes.
    ///
    /// Throws std::system_error, with the executable's path, if it cannot be started.
    static Outcome run(const Command& command, const std::stop_token& stop, WrittenFiles& files);

  private:
    /// One output stream of the program.
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
    pid_t supervisor_ = -1;
    Descriptor control_;
    Descriptor reports_;
    Stream output_{{}, {KeptText::Part::beginning, kOutputLimitBytes}};
    Stream errors_{{}, {KeptText::Part::end, kErrorsLimitBytes}};
    int launchError_ = 0; ///< errno
    bool hasEnded_ = false;
};

} // namespace ambrel
