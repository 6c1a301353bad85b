#pragma once

#include <QWidget>

namespace ambrel {

/// The rounded rectangle in the panels' colour that groups what lies on it.
class RoundedPanel : public QWidget {
    Q_OBJECT

  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace ambrel
