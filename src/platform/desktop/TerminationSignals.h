#pragma once

#include <array>
#include <csignal>
#include <functional>

#include <QSocketNotifier>

namespace ambrel {

/// Turns the system's requests to end (SIGTERM, SIGINT, SIGHUP) into a call on the main loop, where
/// the program can save and quit. Signals that the starter of the program had ignored stay ignored.
///
/// One at a time in a process; made and ended on the main thread. Throws std::system_error when the
/// system gives no descriptor.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> requested);

    /// Puts the former handlers back.
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    struct Handled {
        int number;
        struct sigaction former;
    };

    void deliver();

    std::function<void()> requested_;
    QSocketNotifier notifier_;
    std::array<Handled, 3> handled_;
};

} // namespace ambrel
