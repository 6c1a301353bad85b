#pragma once

#include <functional>

#include <QObject>

class QKeyEvent;

namespace ambrel {

/// Sees every key press of the application, each auto-repeat included, before any view or menu
/// does, in whichever window it falls. Main thread only, while the QApplication lives.
class KeyEventMonitor : public QObject {
    Q_OBJECT

  public:
    /// What is to be done about a key press; empty to let it pass on unchanged. Asked more than
    /// once for one press, so it must not act by itself.
    using Handler = std::function<std::function<void()>(const QKeyEvent& event)>;

    /// Monitors for as long as it lives.
    explicit KeyEventMonitor(Handler handler);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    Handler handler_;
};

} // namespace ambrel
