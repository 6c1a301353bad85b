#pragma once

#include <chrono>
#include <functional>

#include <QTimer>

namespace ambrel {

/// A precise timer on the main loop that calls its step until it is invalidated or destroyed.
class RepeatingTimer {
  public:
    RepeatingTimer(std::chrono::milliseconds interval, std::function<void()> step);

    /// No call follows.
    void invalidate() { timer_.stop(); }
    bool isValid() const { return timer_.isActive(); }

  private:
    QTimer timer_;
};

} // namespace ambrel
