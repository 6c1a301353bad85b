#pragma once

#include <array>
#include <csignal>
#include <functional>

#include <QSocketNotifier>

namespace ambrel {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main loop, where the program can save and
/// quit. Signals that were ignored when the program started stay ignored.
///
/// At most one at a time; create and destroy on the main thread. Throws std::system_error if no
/// descriptor is available.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> requested);

    /// Restores the previous signal handlers.
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
