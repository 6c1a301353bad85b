#pragma once

#include <chrono>
#include <functional>

#include <QTimer>

namespace ambrel {

/// A precise timer on the main loop that repeats its call until destroyed. Main thread only.
class RepeatingTimer {
  public:
    RepeatingTimer(std::chrono::milliseconds interval, std::function<void()> step);

  private:
    QTimer timer_;
};

} // namespace ambrel
