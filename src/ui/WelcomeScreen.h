#pragma once

#include <QWidget>

class QBoxLayout;

namespace ambrel {

/// What the window shows while nothing is open.
class WelcomeScreen : public QWidget {
    Q_OBJECT

  public:
    explicit WelcomeScreen(QWidget* parent = nullptr);

  Q_SIGNALS:
    void openFileRequested();

  private:
    void applyTheme();

    QBoxLayout* column_;
};

} // namespace ambrel
