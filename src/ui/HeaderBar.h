#pragma once

#include <memory>

#include <QWidget>

#include "app/AppState.h"

class QBoxLayout;

namespace ambrel {

class PushButton;
class Spinner;
class TextLabel;

/// The bar at the top of the window: the file commands, and the name of the open file or how far
/// its loading has come.
class HeaderBar : public QWidget {
    Q_OBJECT

  public:
    explicit HeaderBar(std::shared_ptr<AppState> state, QWidget* parent = nullptr);

  Q_SIGNALS:
    void openFileRequested();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();
    void showState();

    std::shared_ptr<AppState> state_;
    QBoxLayout* row_;
    PushButton* openFile_;
    Spinner* spinner_;
    TextLabel* message_;
    TextLabel* fileName_;
};

} // namespace ambrel
