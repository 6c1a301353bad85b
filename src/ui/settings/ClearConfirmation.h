#pragma once

#include <QMessageBox>

namespace ambrel {

/// Asks whether everything that was cached and set is really to go. Cancel is what Return and
/// Escape do.
class ClearConfirmation : public QMessageBox {
    Q_OBJECT

  public:
    explicit ClearConfirmation(QWidget* parent);

  Q_SIGNALS:
    void confirmed();
};

} // namespace ambrel
