#pragma once

#include <chrono>

namespace ambrel {

/// Ends the process when its regular end takes too long: a thread inside a read from a disk that
/// does not answer can be neither ended nor waited for.
///
/// One in a process, made before everything whose end may take long. Main thread only.
class ExitDeadline {
  public:
    ExitDeadline() = default;

    /// The end was reached in time.
    ~ExitDeadline();
    ExitDeadline(const ExitDeadline&) = delete;
    ExitDeadline& operator=(const ExitDeadline&) = delete;

    /// In `time` from now the process ends with `status`, whatever its threads are doing: what is
    /// to be kept must have been saved.
    void set(std::chrono::milliseconds time, int status);
};

} // namespace ambrel
