#pragma once

#include <QMessageBox>

namespace ambrel {

/// An error alert: the title "Error", the message as selectable plain text, and "OK".
class ErrorAlert : public QMessageBox {
    Q_OBJECT

  public:
    explicit ErrorAlert(QWidget* parent);

    void setMessage(const QString& message);
};

} // namespace ambrel
