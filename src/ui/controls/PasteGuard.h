#pragma once

#include <QObject>

namespace ambrel {

/// Keeps every text field of the application from waiting for a program that owns the clipboard and
/// does not answer: what would paste from it, or offer to, does nothing. Main thread only, within
/// the life of the QApplication.
class PasteGuard : public QObject {
    Q_OBJECT

  public:
    /// For its lifetime.
    PasteGuard();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace ambrel
