#pragma once

#include <QMessageBox>

namespace ambrel {

/// The alert that tells of a failure: titled "Error", with the message as plain text that can be
/// selected, and "OK".
class ErrorAlert : public QMessageBox {
    Q_OBJECT

  public:
    explicit ErrorAlert(QWidget* parent);

    void setMessage(const QString& message);
};

} // namespace ambrel
