#pragma once

#include <functional>

#include <QObject>

class QKeyEvent;

namespace ambrel {

/// Sees every key press of the application, in any window and including auto-repeat, before any
/// view or menu does. Main thread only, within the life of the QApplication.
class KeyEventMonitor : public QObject {
    Q_OBJECT

  public:
    /// Returns the action for a key press; empty to pass the key on. May be called more than once
    /// per press, so it must have no effect itself.
    using Handler = std::function<std::function<void()>(const QKeyEvent& event)>;

    /// Monitors for its lifetime.
    explicit KeyEventMonitor(Handler handler);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    Handler handler_;
};

} // namespace ambrel
