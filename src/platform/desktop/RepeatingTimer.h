#pragma once

#include <chrono>
#include <functional>

#include <QTimer>

namespace ambrel {

/// A precise timer on the main loop that repeats its call until invalidated or destroyed. Main
/// thread only.
class RepeatingTimer {
  public:
    RepeatingTimer(std::chrono::milliseconds interval, std::function<void()> step);

    /// Stops it; no call follows.
    void invalidate() { timer_.stop(); }
    bool isValid() const { return timer_.isActive(); }

  private:
    QTimer timer_;
};

} // namespace ambrel
