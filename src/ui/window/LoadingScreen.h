#pragma once

#include <QWidget>

namespace ambrel {

class TextLabel;

/// The screen shown while a file loads.
class LoadingScreen : public QWidget {
    Q_OBJECT

  public:
    explicit LoadingScreen(QWidget* parent = nullptr);

    void setMessage(const QString& message);

  private:
    TextLabel* message_;
};

} // namespace ambrel
