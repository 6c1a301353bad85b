#pragma once

#include <chrono>

namespace ambrel {

/// Ends the process if quitting takes too long: a thread in a read from a disk that does not answer
/// can be neither stopped nor joined.
///
/// One per process, created before everything that may take long to end. Main thread only.
class ExitDeadline {
  public:
    ExitDeadline() = default;

    /// Quitting has finished in time.
    ~ExitDeadline();
    ExitDeadline(const ExitDeadline&) = delete;
    ExitDeadline& operator=(const ExitDeadline&) = delete;

    /// Ends the process with `status` after `time`, whatever its threads are doing. Save everything
    /// first.
    void set(std::chrono::milliseconds time, int status);
};

} // namespace ambrel
