#pragma once

#include <QWidget>

class QBoxLayout;

namespace ambrel {

class TextLabel;

/// The screen shown while a file loads.
class LoadingScreen : public QWidget {
    Q_OBJECT

  public:
    explicit LoadingScreen(QWidget* parent = nullptr);

    void setMessage(const QString& message);

  private:
    void applyTheme();

    QBoxLayout* column_;
    TextLabel* message_;
};

} // namespace ambrel
