#pragma once

#include <QMessageBox>

namespace ambrel {

/// Asks for confirmation before all cached waveforms and all settings are deleted. Return and
/// Escape cancel.
class ClearConfirmation : public QMessageBox {
    Q_OBJECT

  public:
    explicit ClearConfirmation(QWidget* parent);

  Q_SIGNALS:
    void confirmed();
};

} // namespace ambrel
